#include "host/media/VideoProbe.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

VideoProbe::VideoProbe(const QString& path, Content content)
{
    connect(&mRun, &ToolRun::ended, this, [this](const ToolResult& result) {
        if (result.isSuccess())
            mFacts = parseVideoFacts(result.output, result.log);
        else
            mFacts.error = result.reason();
        emit answered();
    });
    static const QStringList kQuestion{u"-print_format"_s, u"json"_s, u"-show_format"_s, u"-show_streams"_s,
                                       u"-show_chapters"_s};
    const QString absolute = QFileInfo(path).absoluteFilePath();
    ToolCall call = content == Content::Image
                        ? ToolCall::ffprobe(kQuestion + ToolCall::input(u"pipe:0"_s), absolute)
                        : ToolCall::ffprobe(kQuestion + ToolCall::input(ToolCall::fileAddress(absolute)));
    call.timeLimit = std::chrono::seconds(30);
    mRun.start(call);
}
