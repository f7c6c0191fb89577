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

using namespace Qt::StringLiterals;

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
        reasons.prepend(path + ": cannot be opened"_L1);
        std::fprintf(stderr, "mediadump: %s\n", qPrintable(reasons.join("\n  "_L1)));
        return false;
    }
    QJsonObject object = mediaJson(*Vantor::describeMedia(*demuxer));
    object.insert(u"path"_s, path);
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
    QLoggingCategory::setFilterRules(u"default.debug=false"_s);

    const QCommandLineOption chapters(u"chapters"_s, u"Behind it the list of its VOB chapters."_s);
    const QCommandLineOption packets(u"packets"_s, u"Behind that a line a packet, on the output timeline."_s);
    const QCommandLineOption vob(u"vob"_s, u"Read the file as a VOB, whatever its suffix."_s);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Prints the description of media files, as lines of JSON: one object a file."_s);
    parser.addPositionalArgument(u"FILE"_s, u"A file."_s, u"FILE..."_s);
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
