// What the demuxer makes of media files, as lines of JSON on standard output: one object a file, and behind
// it what the options ask for.

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QJsonDocument>
#include <QLoggingCategory>

#include <cstdio>

#include "demux/DemuxerFactory.h"
#include "demux/MediaDescription.h"
#include "demux/VobChapterScanner.h"
#include "standins/VantorBaseStandIn.h"
#include "tools/MediaJson.h"

namespace {

struct Wanted
{
    bool chapters;
    bool packets;
    bool vob;
};

void print(const QJsonObject& object)
{
    const QByteArray line = QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
    std::fwrite(line.constData(), 1, static_cast<size_t>(line.size()), stdout);
}

bool dump(const QString& path, const Wanted& wanted)
{
    QStringList reasons;
    // The demuxer's own records: FFmpeg's, of every probing attempt, would bury them.
    Vantor::setRecordSink([&reasons](const Vantor::Record& record) {
        if (qstrcmp(record.file(), "FFDemuxer") == 0)
            reasons.append(record.text());
    });
    const auto demuxer = Vantor::createDemuxer(path, wanted.vob);
    const bool opened = demuxer->open(path);
    Vantor::setRecordSink({});
    if (!opened) {
        reasons.prepend(path + QLatin1String(": cannot be opened"));
        std::fprintf(stderr, "mediadump: %s\n", qPrintable(reasons.join(QLatin1String("\n  "))));
        return false;
    }
    QJsonObject object = mediaJson(*Vantor::describeMedia(*demuxer));
    object.insert(QStringLiteral("path"), path);
    print(object);
    if (wanted.chapters) {
        const auto list = Vantor::VobChapterScanner::instance().chapters(path);
        print(chaptersJson(list ? *list : Vantor::VobChapterList()));
    }
    if (wanted.packets) {
        while (const auto packet = demuxer->readPacket())
            print(packetJson(*packet));
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));

    const QCommandLineOption chapters(QStringLiteral("chapters"),
                                      QStringLiteral("Behind it the list of its VOB chapters."));
    const QCommandLineOption packets(QStringLiteral("packets"),
                                     QStringLiteral("Behind that a line a packet, on the output timeline."));
    const QCommandLineOption vob(QStringLiteral("vob"),
                                 QStringLiteral("Read the file as a VOB, whatever its suffix."));
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Prints the description of media files, as lines of JSON: one object a file."));
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("A file."),
                                 QStringLiteral("FILE..."));
    parser.addOptions({chapters, packets, vob});
    parser.addHelpOption();
    parser.process(application);
    if (parser.positionalArguments().isEmpty()) {
        std::fputs(qPrintable(parser.helpText()), stderr);
        return 2;
    }

    const Wanted wanted{parser.isSet(chapters), parser.isSet(packets), parser.isSet(vob)};
    bool allOpened = true;
    for (const QString& path : parser.positionalArguments())
        allOpened = dump(path, wanted) && allOpened;
    return allOpened ? 0 : 1;
}
