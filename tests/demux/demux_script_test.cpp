// What is made of packets that no well-meant file has: in this program FFmpeg's reading functions follow a
// script, for the code under test and while one plays.
#include <dlfcn.h>

#include <limits>

#include "demux/FFVobDemuxer.h"
#include "demux/MediaDescription.h"
#include "demux/StillVideo.h"
#include "tests/support/Rows.h"
#include "tests/support/TestFolder.h"
#include "video/InfoEstimate.h"

using namespace Vantor;
using namespace Qt::StringLiterals;

namespace {

constexpr qint64 kNone = AV_NOPTS_VALUE;
constexpr qint64 kHighest = std::numeric_limits<qint64>::max();

struct Scripted
{
    qint64 stream, pos, dts, pts, duration;
};
using Script = QList<Scripted>;

qint64 number(const QString& text)
{
    return text == u"none"  ? kNone
           : text == u"max" ? kHighest
           : text == u"min" ? -kHighest
                            : text.toLongLong();
}

// Packets as STREAM:POSITION:DTS, with :PTS where that is another, and :DURATION where there is one.
Script scriptOf(const QString& text)
{
    Script script;
    for (const QString& packet : text.split(u' ', Qt::SkipEmptyParts)) {
        const QStringList parts = packet.split(u':');
        script.append({number(parts[0]), number(parts[1]), number(parts[2]), number(parts.value(3, parts[2])),
                       number(parts.value(4))});
    }
    return script;
}

struct
{
    Script packets;
    qsizetype next = 0;
    bool plays = false;
    bool infoFails = false;
    QList<qint64> sought; // positions

    void play(const QString& script)
    {
        packets = scriptOf(script);
        next = 0;
        plays = true;
    }
} theScript;

// The packets of a video (0) and two sounds in ticks of 1/90000 s, and their times on the one timeline: dts,
// or "dts/pts" where they differ.
const char kJoints[] = R"(
times move without a joint                    | 0:0:100 0:10:130 0:20:190 | 100 130 190
an equal time is a joint                      | 0:0:100 0:10:100 0:20:110 | 100 100 110
times do not rise over a joint                | 0:0:100 0:10:200 0:20:50 0:30:70 | 100 200 201/200 221/220
the third part begins where the second began  | 0:0:9 0:10:20 0:20:5 0:30:7 0:40:1 0:50:2 | 9 20 21/20 23/22 24/22 25/23
bases of pts and dts are mixed up             | 0:0:10:14 0:10:20:26 0:20:5:6 0:30:7:8 | 10/14 20/26 21/26 23/28
streams share a timeline                      | 0:0:100 1:10:500 0:20:50 1:30:600 | 100 500 101/100 600
a missing time is a joint                     | 0:0:100 0:10:none 0:20:130 | 100 none 130
a video without pts gets the dts               | 0:0:100:none 0:10:200:none | 100/none 200/none
sound that starts without pts stays without   | 1:0:100:none 1:10:200:230 | 100 200
sound that starts with pts loses them         | 1:0:100:105 1:10:200:none | 100/105 200/none
a frame without position is in no chapter     | 0:0:10 0:-1:11 0:20:12 0:30:5 0:-1:6 0:40:7 | 10 11 12 13/12 14/13 15/14
a frame without position opens no chapter     | 0:10:10 0:20:11 0:-1:5 0:30:6 0:40:7 | 10 11 12/11 13/12 14/13
a stream that comes later has chapters        | 0:0:100 9:10:700 9:20:5 0:30:50 | 100 700 5 101/100
what was known of a place outlives it         | 0:0:0 0:4000:90000 0:2000:9 0:6000:90009 0:9000:none 0:2500:none:50 | 0 90000 9 180001/180000 none none/50
the end of time traps                         | 0:0:min 0:10:max 0:20:5 | -9223372036854775807 9223372036854775807 none/9223372036854775807
)";

// Of three chapters, of 4 s at 4 bytes a ms, of 6 s at 2 and of 4 s at 1: a time, and the place that is
// sought for it.
const char kSeeks[] = R"(
the start is early                               | 200   | 1800
half a second is early                           | 500   | 3000
more than half a second is not early             | 501   | 1004
deep inside                                      | 3000  | 11000
the second chapter counts from the first's start | 4600  | 30200
the third chapter counts from the second's start | 11000 | 43500
behind all, something moves                      | 14001 |
the end of time traps                            | max   |
before all, something moves                      | min   |
)";

// What a scan of a video, whose times are in these units, and of a sound in 1/90000 s finds; -7 when it
// leaves the duration alone.
const char kDurations[] = R"(
the last packet has no length            | 0:0:0:0:1000 0:10:9000:9000:1000       | 1/1000 | 10000
counted from 0                           | 0:0:5000:5000:10 0:10:6000:6000:10     | 1/1000 | 1010
the last end is not the furthest         | 0:0:0 0:10:1:900:100 0:20:2:500:100    | 1/1000 | 1000
a video that says nothing hides its sound | 0:0:0 1:0:0 1:0:90000                  | 1/1000 | 1000
a time base of nothing divides           | 0:0:0 0:10:9000 1:0:0 1:0:90000        | 1/0    | 1000
a missing presentation time              | 0:0:0:none 0:10:9000:none              | 1/1000 | 9000
no time at all                           | 0:0:none:none:40 0:10:none:none:40     | 1/1000 | 80
nothing to read                          |                                        | 1/1000 | -7
out of time                              | 0:0:0 0:10:9 0:1000000:18 0:30:27      | 1/1000 | 0
ages trap                                | 0:0:0 0:10:max:max:100                 | 9999/1 | max
)";

} // namespace

#define ORIGINAL(function) reinterpret_cast<decltype(&(function))>(dlsym(RTLD_NEXT, #function))

extern "C" int av_read_frame(AVFormatContext* context, AVPacket* packet)
{
    if (!theScript.plays)
        return ORIGINAL(av_read_frame)(context, packet);
    if (theScript.next == theScript.packets.size())
        return AVERROR_EOF;
    const Scripted& scripted = theScript.packets[theScript.next++];
    av_new_packet(packet, 1);
    packet->stream_index = static_cast<int>(scripted.stream);
    packet->pos = scripted.pos;
    packet->dts = scripted.dts;
    packet->pts = scripted.pts;
    packet->duration = scripted.duration;
    return 0;
}

// A seek by bytes goes on with the first packet there.
extern "C" int av_seek_frame(AVFormatContext* context, int stream, int64_t timestamp, int flags)
{
    if (!theScript.plays)
        return ORIGINAL(av_seek_frame)(context, stream, timestamp, flags);
    theScript.sought.append(timestamp);
    theScript.next = 0;
    while (theScript.next < theScript.packets.size() && theScript.packets[theScript.next].pos < timestamp)
        ++theScript.next;
    return 0;
}

extern "C" int avformat_find_stream_info(AVFormatContext* context, AVDictionary** options)
{
    return theScript.infoFails ? AVERROR_INVALIDDATA : ORIGINAL(avformat_find_stream_info)(context, options);
}

// The millionth byte is read ten seconds later.
extern "C" int64_t av_gettime_relative()
{
    const bool isLate =
        theScript.plays && theScript.next > 0 && theScript.packets[theScript.next - 1].pos >= 1000000;
    return ORIGINAL(av_gettime_relative)() + (isLate ? 10'000'000 : 0);
}

class DemuxScriptTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestFolder> mFolder;
    int mCount = 0;

    // Under a path of its own: chapters are remembered.
    QString openVob(FFVobDemuxer& demuxer, const QString& script)
    {
        QString path = mFolder->path(u"%1.vob"_s.arg(++mCount));
        if (!QFile::link(media("vob.vob"), path))
            qFatal("no link");
        theScript.play(script);
        demuxer.open(path);
        theScript.next = 0;
        return path;
    }

private slots:
    void init()
    {
        theScript = {};
        mFolder.reset();
        mFolder = std::make_unique<TestFolder>();
    }

    void joints_data() { addRows(kJoints); }
    void joints()
    {
        FFVobDemuxer demuxer;
        openVob(demuxer, cells()[1]);
        QStringList found;
        const auto text = [](qint64 time) { return time == kNone ? u"none"_s : QString::number(time); };
        while (const auto packet = demuxer.readPacket())
            found += text(packet->dts) + (packet->pts == packet->dts ? QString() : u'/' + text(packet->pts));
        QCOMPARE(found.join(u' '), cells()[2]);
    }

    void seeks_data() { addRows(kSeeks); }
    void seeks()
    {
        FFVobDemuxer demuxer;
        openVob(demuxer, u"0:1000:0 0:17000:360000 0:30000:9 0:42000:540009 0:43000:18 0:47000:360018"_s);
        demuxer.seek(number(cells()[1]), 7);
        QCOMPARE(theScript.sought,
                 cells()[2].isEmpty() ? QList<qint64>() : QList<qint64>{number(cells()[2])});
    }

    void seekForgetsTheChapter()
    {
        FFVobDemuxer demuxer;
        openVob(demuxer, u"0:0:0 0:2500:45000 0:4000:90000 0:2000:9 0:6000:90009"_s);
        while (demuxer.readPacket()) {
        }
        demuxer.seek(1000, 0);
        QCOMPARE(demuxer.readPacket()->pts, 45000);
    }

    void lengths()
    {
        // Of the video's chapters, or of the longest sound's.
        FFVobDemuxer demuxer;
        const QString video = u" 0:10:0 0:20:90000 0:30:0 0:40:180000"_s;
        openVob(demuxer, video + u" 1:50:0 1:60:900000 2:70:0 2:80:360000"_s);
        QCOMPARE(demuxer.durationMs(), 10000);
        openVob(demuxer, video + u" 1:50:0 1:60:180000 2:70:0 2:80:180000"_s);
        QCOMPARE(demuxer.durationMs(), 3000);
        // A chapter of one packet has no length to divide by.
        openVob(demuxer, u"0:1000:0"_s);
        demuxer.seek(0, 0);
        QCOMPARE(theScript.sought, QList<qint64>{1000});
        QCOMPARE(demuxer.durationMs(), 1);
        demuxer.close();
        QCOMPARE(demuxer.durationMs(), 0);
    }

    // A file is scanned once, and known when it has gone; what has no packets or doesn't open has no
    // chapters.
    void known()
    {
        FFVobDemuxer demuxer;
        const QString path = openVob(demuxer, u"0:0:0 0:10:90000"_s);
        theScript.play(u"0:0:0 0:10:450000"_s);
        QVERIFY(demuxer.open(path));
        QCOMPARE(demuxer.durationMs(), 1000);
        QVERIFY(QFile::remove(path) && !demuxer.open(path) && demuxer.durationMs() > 0);
        QVERIFY(!demuxer.open(media("garbage.mp4")));
        demuxer.seek(0, 0);
        QCOMPARE(demuxer.durationMs(), 0);
        openVob(demuxer, {});
        QCOMPARE(demuxer.durationMs(), demuxer.FFDemuxer::durationMs());
    }

    void durations_data() { addRows(kDurations); }
    void durations()
    {
        const QStringList unit = cells()[2].split(u'/');
        FFDemuxer demuxer;
        QVERIFY(demuxer.open(media("vob.vob")));
        demuxer.formatContext()->streams[0]->time_base = {unit[0].toInt(), unit[1].toInt()};
        theScript.play(cells()[1]);
        qint64 durationMs = 1;
        infoEstimate(demuxer.formatContext(), durationMs);
        QVERIFY2(durationMs == 1 && theScript.next == 0, "a known duration is left alone, without reading");
        durationMs = -7;
        infoEstimate(demuxer.formatContext(), durationMs);
        QCOMPARE(durationMs, number(cells()[3]));
    }

    void stillImages()
    {
        const QString three = u"0:0:0 1:0:0 0:10:1 1:10:1 0:20:2 1:20:2"_s;
        for (const auto& [name, more, isStill] : {std::tuple("wmv-many.wmv", "", true),
                                                  {"wmv-many.wmv", " 0:30:3", false},
                                                  {"ts.ts", "", false}}) {
            theScript.play(three + QLatin1String(more));
            QCOMPARE(probeStillVideo(media(name), 0), isStill);
        }
    }

    // Its stream information may be missing although its packets can be read.
    void wmv3()
    {
        QByteArray video = TestFolder::read(media("wmv-many.wmv"));
        theScript.infoFails = true;
        for (const bool isWmv3 : {false, true}) {
            FFDemuxer demuxer;
            QCOMPARE(demuxer.open(mFolder->write(u"a.wmv"_s, video)), isWmv3);
            QCOMPARE(!demuxer.readPacket(), !isWmv3);
            video.replace("WMV2", "WMV3");
        }
    }
};

QTEST_GUILESS_MAIN(DemuxScriptTest)
#include "demux_script_test.moc"
