#pragma once

#include <QString>

/// Whether two files that Qt can open have the same bytes. False when one cannot be read.
bool haveSameContent(const QString& path, const QString& other);
