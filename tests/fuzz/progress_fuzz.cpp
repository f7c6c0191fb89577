// ffmpeg's progress file in the pieces that "|" cuts, and whole: what is told does not depend on the cuts.
#include <cmath>

#include "tests/fuzz/Fuzz.h"
#include "video/ProgressThread.h"

using namespace Qt::StringLiterals;

using Fuzz::require;

namespace {

constexpr char kEndMarker[] = "progress=end";

class Reader : public ProgressThread
{
public:
    Reader(float durationMs, const QString& path, QList<float>& told) : ProgressThread(durationMs, path)
    {
        connect(
            this, &ProgressThread::threadCompressProcess, this, [&told](float share) { told.append(share); },
            Qt::DirectConnection);
    }
    using ProgressThread::readLine;
};

QList<float> toldBy(const QByteArray& content, float durationMs)
{
    QList<float> told;
    const QList<QByteArray> lines = content.split('\n');
    for (const QByteArray& line : lines.first(lines.size() - 1)) {
        if (const auto share = progressIn(line, durationMs))
            told.append(*share);
    }
    return told;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const float kDurations[] = {10000.0F, 0.0F, -1.0F, 1e-30F, 3e38F, std::nanf("")};
    Fuzz::Input input(data, size);
    const float durationMs = input.oneOf(kDurations);
    // The file is opened as text. Behind the end marker ffmpeg writes nothing.
    QByteArray content = input.rest().replace('\r', "");
    const QByteArray whole = QByteArray(content).replace('|', "");
    const qsizetype marker = ('\n' + whole).indexOf(QByteArray("\n") + kEndMarker);
    const bool isEnded = marker >= 0;
    const QList<float> expected = toldBy(isEnded ? whole.left(marker) : whole, durationMs);
    for (const float share : expected)
        require(share >= 0, "no share is negative, and each is a number");
    const QString path = Fuzz::scratch(u"progress.txt"_s);

    QList<float> told;
    Reader pieces(durationMs, path, told);
    QFile file(path);
    QFile writer(path);
    require(writer.open(QIODevice::WriteOnly) && file.open(QIODevice::ReadOnly | QIODevice::Text), "open");
    QByteArray line;
    qsizetype left = isEnded ? marker + qsizetype(sizeof kEndMarker) - 1 : whole.size();
    for (QByteArray piece : content.split('|')) {
        piece.truncate(left);
        left -= piece.size();
        writer.write(piece);
        writer.flush();
        while (pieces.readLine(file, line)) {
        }
    }
    writer.close();
    require(told == expected, "the pieces tell what the whole does");

    told.clear();
    Reader monitor(durationMs, path, told);
    monitor.encoderEnded();
    monitor.start();
    require(monitor.wait(10000), "the monitor ends with its encoder");
    require(told == expected, "the monitor tells what is in the file");
    require(!QFile::exists(path), "the monitor removes the file");
    return 0;
}
