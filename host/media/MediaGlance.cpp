#include "host/media/MediaGlance.h"

#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// Tags may hold anything; their lines are indented further than these.
const QRegularExpression& lineForm()
{
    static const QRegularExpression form(u"^(?:Input #\\d+, "
                                         "|  Duration: (\\d+):(\\d\\d):(\\d\\d)\\.(\\d\\d)"
                                         "| {2,4}Stream #\\d+:(\\d+)[^:]*: (Video|Audio): (.*)$)"_s,
                                         QRegularExpression::MultilineOption);
    return form;
}

MediaGlance::Video videoIn(int stream, const QString& text)
{
    static const QRegularExpression kSize(u", (\\d+)x(\\d+)(?=[ ,]|$)"_s);
    static const QRegularExpression kFormat(u", ([a-z]\\w+)(?:\\([^)]*\\))?(?:, | ?$)"_s);

    MediaGlance::Video video;
    video.stream = stream;
    const QRegularExpressionMatch size = kSize.match(text);
    video.size = {size.captured(1).toInt(), size.captured(2).toInt()};
    video.pixelFormat = kFormat.match(text.left(size.capturedStart() + 2)).captured(1);
    video.isAttachedPicture = text.contains("(attached pic)"_L1);
    return video;
}

} // namespace

bool MediaGlance::Video::mayHaveAlpha() const
{
    static const QRegularExpression kForms(u"^(?:yuva|rgba|bgra|argb|abgr|gbrap|ya|pal8)"_s);
    return kForms.match(pixelFormat).hasMatch();
}

const MediaGlance::Video* MediaGlance::video() const
{
    const auto found = std::find_if(videos.begin(), videos.end(),
                                    [](const Video& video) { return !video.isAttachedPicture; });
    return found == videos.end() ? nullptr : &*found;
}

QList<MediaGlance> MediaGlance::inputsIn(const QByteArray& log)
{
    QList<MediaGlance> inputs;
    auto lines = lineForm().globalMatch(QString::fromUtf8(log));
    while (lines.hasNext()) {
        const QRegularExpressionMatch line = lines.next();
        if (line.captured().startsWith(u'I')) {
            inputs.append(MediaGlance());
        } else if (inputs.isEmpty()) {
            continue;
        } else if (line.captured(6) == "Video"_L1) {
            inputs.last().videos.append(videoIn(line.captured(5).toInt(), line.captured(7)));
        } else if (line.captured(6) == "Audio"_L1) {
            ++inputs.last().soundCount;
        } else {
            const qint64 minutes = line.captured(1).toLongLong() * 60 + line.captured(2).toLongLong();
            inputs.last().durationMs =
                (minutes * 60 + line.captured(3).toLongLong()) * 1000 + line.captured(4).toLongLong() * 10;
        }
    }
    return inputs;
}
