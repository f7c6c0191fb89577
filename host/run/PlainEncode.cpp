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
    EncodeRequest task = request(qualityFor(context().options, *context().spec.format));
    task.inputPath = sourcePath;
    ++mRuns;
    if (mRun) {
        mRun->disconnect(this);
        mRun.release()->deleteLater();
    }
    mRun = context().makeRun(task);
    connect(mRun.get(), &ModuleRun::progressed, this, &Encode::progressed);
    connect(mRun.get(), &ModuleRun::ended, this, &PlainEncode::onEnded);
    mRun->start();
}

void PlainEncode::onEnded(const Failure& failure)
{
    EncodeEnd end;
    end.runs = mRuns;
    end.failure = failure;
    const bool isCopy = !failure && mPadded.isEmpty() &&
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
