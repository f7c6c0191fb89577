// Measures the demuxer against FFmpeg's bare calls and against ffprobe: see demux.sh, which makes its sources
// and calls it. Every kind takes turns with its peers; the ratios are medians over the rounds.
//
//   demux_bench describe ROUNDS FILE...   open and describe, against ffprobe and against FFmpeg's own part of it
//   demux_bench chain ROUNDS FILE         scan and read a VOB chain, against bare loops over it
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QProcess>
#include <QStringList>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "demux/FFVobDemuxer.h"
#include "demux/MediaDescription.h"
#include "demux/VobChapterScanner.h"
#include "hostlibs/AvBridge.h"

using namespace Qt::StringLiterals;

using namespace Vantor;

namespace {

template <typename Work>
double millisecondsOf(const Work& work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

[[noreturn]] void fail(const QString& path)
{
    qFatal("%s cannot be read", qPrintable(path));
}

QSharedPointer<AVFormatContext> openBare(const QString& path)
{
    AVFormatContext* raw = nullptr;
    if (avformat_open_input(&raw, path.toUtf8().constData(), nullptr, nullptr) != 0)
        fail(path);
    auto context = makeAVFormatContextPtr(raw);
    if (avformat_find_stream_info(raw, nullptr) < 0)
        fail(path);
    return context;
}

void probe(const QString& path)
{
    QProcess ffprobe;
    ffprobe.setStandardOutputFile(QProcess::nullDevice());
    ffprobe.start(u"ffprobe"_s, {u"-v"_s, u"error"_s, u"-show_streams"_s, path});
    if (!ffprobe.waitForFinished() || ffprobe.exitCode() != 0)
        fail(path);
}

void describe(int rounds, const QStringList& paths)
{
    std::vector<double> ours;
    std::vector<double> bare;
    std::vector<double> peer;
    std::vector<double> ratios;
    for (int round = 0; round < rounds; ++round) {
        ours.push_back(millisecondsOf([&paths] {
            for (const QString& path : paths) {
                FFDemuxer demuxer;
                if (!demuxer.open(path) || !describeMedia(demuxer))
                    fail(path);
            }
        }));
        bare.push_back(millisecondsOf([&paths] {
            for (const QString& path : paths)
                openBare(path);
        }));
        peer.push_back(millisecondsOf([&paths] {
            for (const QString& path : paths)
                probe(path);
        }));
        ratios.push_back(ours.back() / peer.back());
    }
    const auto files = static_cast<double>(paths.size());
    std::printf("open and describe / ffprobe, a file:         %.3f  (below 0.8; %.1f ms to %.1f ms)\n",
                median(ratios), median(ours) / files, median(peer) / files);
    std::printf("FFmpeg's own share of open and describe:     %.0f %%\n", 100 * median(bare) / median(ours));
}

qint64 loopBare(const QString& path)
{
    const auto context = openBare(path);
    const auto packet = makeAVPacketPtr(av_packet_alloc());
    qint64 count = 0;
    for (; av_read_frame(context.data(), packet.data()) >= 0; ++count)
        av_packet_unref(packet.data());
    return count;
}

qint64 loopVob(const QString& path)
{
    FFVobDemuxer demuxer;
    if (!demuxer.open(path))
        fail(path);
    qint64 count = 0;
    while (demuxer.readPacket())
        ++count;
    return count;
}

void chain(int rounds, const QFileInfo& file)
{
    std::vector<double> scans;
    std::vector<double> reads;
    qint64 packets = 0;
    qsizetype chapters = 0;
    // Scans are remembered by path: each round calls the file by another name.
    QString path = file.path() + u'/';
    for (int round = 0; round < rounds; ++round) {
        path += "./"_L1;
        const QString name = path + file.fileName();
        const double bare = millisecondsOf([&] { packets = loopBare(name); });
        const double scan =
            millisecondsOf([&] { chapters = VobChapterScanner::instance().chapters(name)->chapters.size(); });
        const double read = millisecondsOf([&] {
            if (loopVob(name) != packets)
                fail(name);
        });
        scans.push_back(scan / bare);
        reads.push_back(read / bare);
    }
    std::printf(
        "%4lld chapters, %lld packets: scan / bare loop %.3f, read / bare loop %.3f  (at most 1.05)\n",
        static_cast<long long>(chapters), static_cast<long long>(packets), median(scans), median(reads));
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(u"default.debug=false"_s);
    const QStringList arguments = application.arguments();
    if (arguments.size() < 4)
        return 2;
    const int rounds = arguments.at(2).toInt();
    ffmpegLogToPLog();
    if (arguments.at(1) == "describe"_L1)
        describe(rounds, arguments.mid(3));
    else
        chain(rounds, QFileInfo(arguments.at(3)));
    return 0;
}
