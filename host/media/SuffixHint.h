#pragma once

#include <QString>
#include <QStringList>

/// The one of `known` that a mistyped suffix was probably meant to be; empty when none is near. Pure.
QString suggestSuffix(const QString& typed, const QStringList& known);
