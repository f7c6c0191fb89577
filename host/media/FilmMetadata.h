#pragma once

#include <QString>
#include <QStringList>

#include "host/media/FilmFacts.h"

/// What of the source's creation time, chapters and tags its result lacks and the result's container can
/// hold, one word for each for people; empty when no further pass is needed. Pure.
QStringList missingFilmMetadata(const FilmFacts& source, const FilmFacts& result,
                                const QString& outputSuffix);

/// ffmpeg's arguments for a pass that writes `outputPath`, a new file: the result's streams as they are, the
/// source's metadata. The suffix of the output chooses the container, and has to be the result's. Pure.
QStringList filmMetadataArguments(const FilmFacts& source, const FilmFacts& result, const QString& sourcePath,
                                  const QString& resultPath, const QString& outputPath);
