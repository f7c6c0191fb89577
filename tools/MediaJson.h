#pragma once

#include <QJsonObject>

#include "demux/MediaDescription.h"
#include "demux/VobChapter.h"

// The demuxer's records as JSON: keys are the field names, a rational is [numerator, denominator], a missing
// timestamp is null.

QJsonObject mediaJson(const Vantor::MediaDescription& media);
QJsonObject chaptersJson(const Vantor::VobChapterList& list);
QJsonObject packetJson(const AVPacket& packet);
