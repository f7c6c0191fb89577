#pragma once

#include <QString>
#include <QStringList>

/// Collects the debug lines of a test function, from all threads, and makes any warning fail it (such as
/// "QProcess: Destroyed while process is still running"). Make it inside a test function or in init(). One at
/// a time.
class MessageCapture
{
public:
    MessageCapture();
    ~MessageCapture();
    Q_DISABLE_COPY_MOVE(MessageCapture)

    /// The lines that begin so.
    QStringList debugLines(const QString& beginning = {}) const;
};
