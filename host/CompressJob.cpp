#include "host/CompressJob.h"

#include <QFile>
#include <QFileInfo>

#include "host/SizeText.h"

namespace {

bool haveSameContent(const QString& path, const QString& other)
{
    constexpr qint64 kBlockBytes = 1 << 20;
    QFile file(path);
    QFile otherFile(other);
    if (!file.open(QIODevice::ReadOnly) || !otherFile.open(QIODevice::ReadOnly) ||
        file.size() != otherFile.size())
        return false;
    while (!file.atEnd()) {
        const QByteArray block = file.read(kBlockBytes);
        if (block.isEmpty() || block != otherFile.read(kBlockBytes))
            return false;
    }
    return true;
}

} // namespace

QString CompressJob::prepareOutput()
{
    mOutput.emplace(options().outputPath, options().force);
    if (mOutput->isValid())
        return mOutput->path();
    end(kUsage,
        QStringLiteral("cannot write beside %1: %2").arg(options().outputPath, mOutput->errorString()));
    return {};
}

void CompressJob::conclude()
{
    // Taken before the delivery, which may replace the input.
    const QString input = options().inputPath;
    const qint64 before = QFileInfo(input).size();
    const qint64 after = QFileInfo(mOutput->path()).size();
    if (after == 0)
        return fail(QStringLiteral("the encoder made no result of %1").arg(input));
    const bool unchanged = haveSameContent(input, mOutput->path());

    const QString error = mOutput->deliver();
    if (!error.isEmpty())
        return fail(QStringLiteral("cannot write %1: %2").arg(options().outputPath, error));
    const QString what = QStringLiteral("%1 -> %2: ").arg(input, options().outputPath);
    if (unchanged)
        end(kDelivered,
            what + QStringLiteral("%1, delivered unchanged: it would have grown").arg(sizeText(before)));
    else
        end(kDelivered, what + QStringLiteral("%1 -> %2 (%3)")
                                   .arg(sizeText(before), sizeText(after), savingText(before, after)));
}
