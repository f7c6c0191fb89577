#include "host/run/PlainEncode.h"

#include <QFile>
#include <QFileInfo>

#include "host/job/Format.h"
#include "host/job/Options.h"
#include "host/system/PlatformFiles.h"
#include "host/system/PrivateFolder.h"

namespace {

// More than any image's encoded form, and sparse where the file system can.
constexpr qint64 kPaddingBytes = qint64(64) << 20;

} // namespace

PlainEncode::~PlainEncode()
{
    if (!mPadded.isEmpty())
        QFile::remove(mPadded);
}

void PlainEncode::start()
{
    run(context().sourcePath);
}

void PlainEncode::stop()
{
    if (mRun)
        mRun->stop();
}

void PlainEncode::run(const QString& sourcePath)
{
    TaskRequest task = request(qualityFor(context().options, *context().spec.format));
    task.inputPath = sourcePath;
    ++mRuns;
    if (mRun) {
        mRun->disconnect(this);
        mRun.release()->deleteLater();
    }
    mRun = std::make_unique<TaskRun>(context().tasks, task);
    connect(mRun.get(), &TaskRun::progressed, this, &Encode::progressed);
    connect(mRun.get(), &TaskRun::ended, this, &PlainEncode::onEnded);
    mRun->start();
}

void PlainEncode::onEnded(int code, const QString& text)
{
    EncodeEnd end;
    end.runs = mRuns;
    if (code != 0)
        end.failure = failureOf(code, text);
    const bool isCopy = code == 0 && mPadded.isEmpty() &&
                        QFileInfo(context().resultPath).size() == QFileInfo(context().sourcePath).size() &&
                        !Formats::looksLike(*context().spec.format, context().resultPath);
    if (isCopy) {
        // A copy of the source under a wrong suffix. The module compares with the source's size and every
        // decoder stops at an image's end: behind a longer tail the result is delivered, larger as it is.
        mPadded = context().folder.newPath(QFileInfo(context().sourcePath).suffix());
        QFile tail(mPadded);
        if (Platform::copy(context().sourcePath, mPadded).isEmpty() && tail.open(QIODevice::ReadWrite) &&
            tail.resize(tail.size() + kPaddingBytes)) {
            QFile::remove(context().resultPath);
            return run(mPadded);
        }
        end.failure = {FailureKind::NoResult, QString()};
    }
    emit ended(end);
}
