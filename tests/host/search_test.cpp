#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

#include <cmath>

#include "host/media/ToolRun.h"
#include "host/search/EstimateRange.h"
#include "host/search/GoalSearch.h"
#include "host/search/MetricSearch.h"
#include "host/search/SamplePlan.h"
#include "host/search/SizeSearch.h"
#include "tests/support/TestFolder.h"
#include "tests/support/TestSystem.h"

using namespace Qt::StringLiterals;
using Model = double (*)(double);

/// Writes as many bytes as the model says, or a copy of a smaller source; hangs for none.
struct FakeRun final : ModuleRun
{
    FakeRun(EncodeRequest request, Model bytes) : mRequest(std::move(request)), mBytes(bytes) {}
    void start() override
    {
        const auto bytes = qint64(mBytes(mRequest.quality.toDouble()));
        QVERIFY(QFile::copy(mRequest.inputPath, mRequest.outputPath));
        QFile::resize(mRequest.outputPath, std::min(bytes, QFileInfo(mRequest.inputPath).size()));
        if (bytes > 0)
            emit ended(bytes == 98 ? Failure{FailureKind::EncoderFailed, {}, 98} : Failure());
    }
    void stop() override { emit ended({FailureKind::EncoderFailed, {}, 62097}); }

    EncodeRequest mRequest;
    Model mBytes;
};

class SearchTest : public QObject
{
    Q_OBJECT

private slots:
    // A size for images (s) and videos of a million bytes (S), or an SSIM for both (l, L); the model; the
    // least and the largest size that may be found, -1 for nothing; in how many trials.
    void settingsAreFound()
    {
        const QHash<QString, Model> models{
            {u"jpeg"_s, [](double q) { return 20000 * std::exp(q < 80 ? q / 40 : 2 + (q - 80) / 8); }},
            {u"stairs"_s, [](double q) { return 50000 + 10000 * std::floor(q / 20); }},
            {u"over"_s, [](double percent) { return percent * 11500 + 30000; }},
            {u"easy"_s, [](double percent) { return std::min(200000.0, 10000 * percent); }},
            {u"rise"_s, [](double setting) { return 1000 + setting; }},
            {u"fall"_s, [](double setting) { return 1000 - setting; }}};
        const QString rows =
            u"s 25000 jpeg 23750 25000 6|s 600kB jpeg 570000 600000 6|s 73.25KiB stairs 70000 70000 9|"
            "s 10000 jpeg -1 -1 4|S 20% over 190000 200000 3|S 0.8MB over 760000 800000 3|"
            "S 40% easy 200000 200000 2|L 0.9 fall 972 972 1|L 0.96 fall 982 984 5|"
            "L 0.993 fall 999 999 5|L 0.999 fall -1 -1 5|l 0.95 rise 1077 1079 5"_s;
        for (const QString& row : rows.split(u'|')) {
            const QStringList words = row.split(u' ');
            const qint64 goal = SizeGoal::parse(words[1]).value_or(SizeGoal::ofBytes(1)).bytesFor(1000000);
            const bool isImage = words[0] == words[0].toLower();
            std::unique_ptr<SettingSearch> way(new ImageSizeSearch(goal, 75));
            if (words[0] == u"S")
                way.reset(new VideoSizeSearch(goal, 1000000));
            else if (words[0] != u"s")
                way.reset(new MetricSearch({&kSsim, words[1].toDouble()}, isImage ? 60 : 28,
                                           Formats::ofSuffix(isImage ? u"jpg"_s : u"mp4"_s)->quality));
            QList<Trial> trials;
            while (const auto setting = way->next(trials))
                trials.append({*setting, qint64(models[words[2]](*setting)),
                               0.995 - (isImage ? 100 - *setting : *setting) * 0.0019});
            const Trial best = trials[way->best(trials)];
            const double found = way->fits(best) ? double(best.bytes) : -1;
            QVERIFY2(found >= words[3].toDouble() && found <= words[4].toDouble() &&
                         trials.size() <= words[5].toInt(),
                     qPrintable(row));
        }
        const std::pair<QString, qint64> sizes[] = {{u"7"_s, 7},
                                                    {u"8 B"_s, 8},
                                                    {u"1.5kB"_s, 1500},
                                                    {u"2KiB"_s, 2048},
                                                    {u"1.5MB"_s, 1500000},
                                                    {u"1.5 MiB"_s, 1572864},
                                                    {u"2gb"_s, 2000000000},
                                                    {u"2GiB"_s, 2147483648},
                                                    {u"0.1%"_s, 10000000},
                                                    {u"1000GB"_s, 10000000000}};
        for (const auto& [text, bytes] : sizes)
            QCOMPARE(SizeGoal::parse(text)->bytesFor(10000000000), bytes);
        for (const char* const wrong : {"0", "0%", "101%", "8 XB", "-5", "1e3", "5%%", ""})
            QVERIFY2(!SizeGoal::parse(QString::fromLatin1(wrong)), wrong);
    }

    // The samples as source's bytes and milliseconds and the result's, those of the whole, its sounds,
    // whether the bitrate is fixed; the least and the most that it may become.
    void estimatesHaveBounds()
    {
        const std::tuple<QList<SampleMeasure>, WholeVideo, bool, qint64, qint64> rows[] = {
            {{{0, 0, 15000, 15000}}, {90000, 60000, 1}, false, 48600, 75000},
            {{{0, 0, 15000, 15000}}, {90000, 60000, 0}, true, 57600, 62400},
            {{{0, 0, 15000, 15000}}, {90000, 60000, 3}, true, 1977600, 2942400},
            {{{0, 0, 15000, 15000}}, {90000, 10000, 1}, false, 14850, 15150},
            {{{9, 9, 1000, 1000}, {9, 9, 1000, 1000}}, {60000, 60000, 1}, false, 57000, 63000},
            // Twice the bytes a second become twice as many, and the whole has 4 of them.
            {{{2000, 1000, 1000, 1000}, {4000, 1000, 2000, 1000}, {6000, 1000, 3000, 1000}},
             {240000, 60000, 1},
             false,
             114000,
             126000},
            // With more sounds bytes cannot be compared: by the seconds alone.
            {{{2000, 1000, 1000, 1000}, {4000, 1000, 2000, 1000}, {6000, 1000, 3000, 1000}},
             {360000, 60000, 2},
             false,
             1026251,
             1613749}};
        for (const auto& [samples, whole, isFixed, low, high] : rows) {
            const SizeRange range = estimateRange(samples, whole, isFixed);
            QCOMPARE(std::pair(range.low, range.high), std::pair(low, high));
        }
        QCOMPARE(piecePercentage(40, {1000000, 100000, 1}, 200000, 10000), 20.0);
        QCOMPARE(sampleBeginnings(120000), QList<qint64>());
        QCOMPARE(sampleBeginnings(200000), (QList<qint64>{12500, 52500, 92500, 132500, 172500}));
    }

    // Of ffprobe's answers: the container, the stream's end and the container's, the transfer, the pixel
    // format; the length, whether it is stated, and what the image has.
    void answersAreRead()
    {
        const QString rows =
            u"matroska,webm 9 8 smpte2084 yuv420p10le|8000 1 hdr 10;matroska,webm 7 8 bt709 yuva420p|7000 1 "
            u"alpha 8;"
            "mov,mp4,m4a,3gp,3g2,mj2 8 8 arib-std-b67 p010le|8000 1 hdr 10;avi 8 8 - -|8000 1 8;flv 8 - - "
            "-|0 0 8;"
            "mpegts 8 8 - pal8|8000 0 alpha 8;avi 8 8 Estimating duration from bitrate|8000 0 8;asf - 8 - -|8000 1 8"_s;
        const QByteArray formats =
            QByteArrayLiteral(R"([{"name":"yuv420p10le","components":[{"bit_depth":10}]},
            {"name":"p010le","components":[{"bit_depth":10},{"bit_depth":10}]},{"name":"yuva420p","flags":{"alpha":1}},
            {"name":"pal8","flags":{"alpha":1},"components":[{"bit_depth":8}]}])");
        for (const QString& row : rows.split(u';')) {
            const QStringList words = row.section(u'|', 0, 0).split(u' ');
            const QString json = u"{\"format\":{\"format_name\":\"%1\",\"duration\":\"%3\"},\"streams\":[{"
                                 "\"codec_type\":\"video\",\"duration\":\"%2\",\"color_transfer\":\"%4\","
                                 "\"pix_fmt\":\"%5\"}],\"pixel_formats\":"_s;
            ToolResult answer;
            answer.output =
                json.arg(words[0], words[1], words[2], words[3], words[4]).toUtf8() + formats + '}';
            answer.log = words.sliced(3).join(u' ').toUtf8();
            const VideoFacts facts = videoFactsIn(answer);
            const StreamFacts& image = *facts.videoStream();
            QCOMPARE(u"%1 %2 %3%4%5"_s.arg(facts.lengthMs)
                         .arg(int(facts.isLengthStated))
                         .arg(image.isHdr ? u"hdr "_s : QString(), image.hasAlpha ? u"alpha "_s : QString())
                         .arg(image.bits),
                     row.section(u'|', 1));
        }
    }

    void resultsAreKeptOrRemoved()
    {
        const std::tuple<Model, bool, FailureKind> rows[] = {
            {[](double q) { return 10 * q; }, true, FailureKind::None},
            {[](double q) { return q > 60 ? 98 : 8 * q; }, true, FailureKind::None},
            {[](double) { return 5000.0; }, true, FailureKind::AimUnreached},
            {[](double) { return 5000.0; }, false, FailureKind::AimUnreached},
            {[](double q) { return q > 70 ? 900.0 : 0.0; }, true, FailureKind::Interrupted}};
        for (const auto& [bytes, copyCounts, kind] : rows) {
            const TestFolder folder;
            const SearchTarget target{folder.write(u"source.jpg"_s, QByteArray(1000, 's')),
                                      u"jpg"_s,
                                      Formats::ofSuffix(u"jpg"_s),
                                      {},
                                      75,
                                      copyCounts,
                                      SizeGoal::parse(u"500"_s),
                                      {}};
            int names = 0;
            GoalSearch search(
                target,
                [model = bytes](const auto& request) { return std::make_unique<FakeRun>(request, model); },
                [&](const QString&) { return folder.path(u"tmp/%1.jpg"_s.arg(++names)); });
            QSignalSpy ends(&search, &GoalSearch::ended);
            search.start();
            QTRY_VERIFY(kind == FailureKind::Interrupted ? names == 2 : ends.size() == 1);
            search.stop();
            QTest::qWait(10);
            QCOMPARE(ends.size(), 1);
            QCOMPARE(ends[0][0].value<GoalOutcome>().failure.kind, kind);
            QCOMPARE(folder.leftovers().size(), kind == FailureKind::None ? 1 : 0);
            const qint64 kept = QFileInfo(ends[0][0].value<GoalOutcome>().path).size();
            QVERIFY(kind != FailureKind::None || (kept >= 475 && kept <= 500));
        }
    }

    // What a helper program is started with, in milliseconds at most, and how it ends, with and without an
    // event loop.
    void helpersEnd()
    {
        const QString endless = u"-f lavfi -i anullsrc -f s16le "_s;
        const std::tuple<QString, QString, int, QString> rows[] = {
            {u"ffmpeg"_s, u"-version"_s, 0, {}},
            {u"none"_s, u""_s, 0, u"none could not be started: .+"_s},
            {u"ffmpeg"_s, u"-i file:none"_s, 0, u".*No such file.*"_s},
            {u"ffmpeg"_s, u"-re "_s + endless + u"pipe:1"_s, 300, u"ffmpeg did not end within 0.3 seconds"_s},
            {u"ffmpeg"_s, endless + u"pipe:1"_s, 0, u"ffmpeg wrote too much"_s}};
        for (const auto& [program, arguments, limit, reason] : rows) {
            ToolCall call = ToolCall::ffmpeg(arguments.split(u' '));
            call.program = ToolCall::beside(program);
            call.timeLimit = std::chrono::milliseconds(limit);
            ToolRun run;
            QSignalSpy ended(&run, &ToolRun::ended);
            run.start(call);
            QVERIFY(ended.wait(20000));
            for (const auto& result : {ended[0][0].value<ToolResult>(), ToolRun::runAndWait(call)}) {
                QCOMPARE(result.isSuccess(), reason.isEmpty());
                QCOMPARE(result.output.startsWith("ffmpeg version"), reason.isEmpty());
                QVERIFY2(QRegularExpression(u"^(%1)$"_s.arg(reason)).match(result.reason()).hasMatch(),
                         qPrintable(result.reason()));
            }
            QCOMPARE(ended.size(), 1);
        }
    }

    // Video or image, the containers of source and result, the options that make each; the least and highest
    // SSIM.
    void ssimIsMeasured()
    {
        if (const char* const reason =
                TestSystem::reasonAgainstFfmpeg({u"nut"_s, u"life"_s, u"lutrgb"_s, u"colorchannelmixer"_s}))
            QSKIP(reason);
        const QTemporaryDir folder;
        const QString video =
            u"-f lavfi -i life=s=96x64:seed=3:mold=10 -f lavfi -i sine -t 1 -qp 0 -pix_fmt yuv420p "_s;
        const QString image = u"-f lavfi -i testsrc2=s=64x64 -frames:v 1 -vf format=rgba,"_s;
        const QString rows =
            u"f|mp4|mp4||-c copy|1|1;f|mp4|mp4||-crf 51|0|0.8;f|mp4|avi||-crf 10 -vf scale=48:32|0.9|1;"
            "f|mp4|mkv|-metadata:s:v rotate=90|-crf 10|0.9|0.9999;"
            "f|mp4|mp4|-vf setpts=PTS+0.5/TB|-crf 10|0.9|1;"
            "f|mkv|mov|-vf select=mod(n\\,5) -fps_mode vfr|-crf 10|0.9|1;"
            "p|png|png|crop=5:3|-c copy|1|1;p|png|png|colorchannelmixer=aa=0|-vf lutrgb=r=0|1|1;"
            "p|png|png|colorchannelmixer=aa=0.5|-vf colorchannelmixer=aa=0.2|0|0.9"_s;
        for (const QString& row : rows.split(u';')) {
            const QStringList words = row.split(u'|');
            const bool isVideo = words[0] == u"f";
            const QString source = folder.filePath(u"source."_s + words[1]),
                          result = folder.filePath(u"result."_s + words[2]);
            for (const QString& line : {(isVideo ? video : image) + words[3] + u' ' + source,
                                        u"-i "_s + source + u' ' + words[4] + u' ' + result})
                QCOMPARE(QProcess::execute(QCoreApplication::applicationDirPath() + u"/ffmpeg"_s,
                                           (u"-v error -y "_s + line).split(u' ', Qt::SkipEmptyParts)),
                         0);
            MetricProbe probe(kSsim, result, source, isVideo);
            QSignalSpy ended(&probe, &MetricProbe::ended);
            QVERIFY(ended.wait(60000));
            const double ssim = ended[0][0].toDouble();
            QVERIFY2(ssim >= words[5].toDouble() && ssim <= words[6].toDouble(),
                     qPrintable(row + QString::number(ssim)));
        }
    }
};

QTEST_GUILESS_MAIN(SearchTest)
#include "search_test.moc"
