#include "host/output/TerminalReporter.h"

#include <algorithm>

#include "host/system/PathText.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int kPaceMs = 100;
// What ends sooner shows no block at all.
constexpr qint64 kFirstDrawMs = 300;
constexpr int kBarCells = 20;
// From this width on there is room for a bar beside a name.
constexpr int kColumnsForBar = 60;

// The cursor rests where the block begins. A terminal that becomes narrower breaks lines, each in its own
// way, and may say its new width late: the cursor keeps its place in the text all the same, and all below it
// is the block. While the block is drawn no line is broken, so that it has the rows that are counted.
constexpr char kErase[] = "\r\x1b[J";
constexpr char kUp[] = "\x1b[%1A";
constexpr char kNoWrap[] = "\x1b[?7l";
constexpr char kWrap[] = "\x1b[?7h";

} // namespace

TerminalReporter::TerminalReporter(const Options& options) : TextReporter(options)
{
    mClock.start();
    mTimer.setInterval(kPaceMs);
    QObject::connect(&mTimer, &QTimer::timeout, &mTimer, [this] { redraw(); });
}

TerminalReporter::~TerminalReporter()
{
    draw();
}

void TerminalReporter::planned(qint64 files, qint64 bytes)
{
    TextReporter::planned(files, bytes);
    mBytes = bytes;
    mTimer.start();
}

void TerminalReporter::settled(const JobResult& result)
{
    TextReporter::settled(result);
    ++mDoneFiles;
    mDoneBytes += result.bytesBefore;
    if (result.outcome == Outcome::Delivered || result.outcome == Outcome::Predicted)
        mSavedBytes += result.bytesBefore - result.bytesAfter;
}

void TerminalReporter::refused(const QString& text)
{
    TextReporter::refused(text);
    draw();
}

void TerminalReporter::finished(const RunSummary& summary)
{
    mTimer.stop();
    mRunning.clear();
    TextReporter::finished(summary);
    draw();
}

void TerminalReporter::print(Platform::Channel channel, const QString& line)
{
    mPending.emplace_back(channel, line + u'\n');
    // Somebody reads along elsewhere: at once.
    if (channel == Platform::Channel::Output && !Platform::isTerminal(channel)) {
        mChannels.write(channel, mPending.back().second);
        mPending.pop_back();
    } else if (!mTimer.isActive()) {
        draw();
    }
}

void TerminalReporter::draw(const QStringList& lines)
{
    using Platform::Channel;
    QString text = std::exchange(mIsDrawn, !lines.isEmpty()) ? QString::fromLatin1(kErase) : QString();
    const auto write = [this, &text] {
        if (!text.isEmpty())
            mChannels.write(Channel::Error, std::exchange(text, QString()));
    };
    for (const auto& [channel, line] : std::exchange(mPending, {})) {
        if (channel == Channel::Error) {
            text += line;
            continue;
        }
        write();
        mChannels.write(channel, line);
    }
    if (!lines.isEmpty())
        text += QLatin1String(kNoWrap) + lines.join(u'\n') + QLatin1String(kWrap) + u'\r';
    if (lines.size() > 1)
        text += QString::fromLatin1(kUp).arg(lines.size() - 1);
    write();
}

void TerminalReporter::redraw()
{
    // In the background the terminal is somebody else's.
    const bool isOurs = Platform::isInForeground(Platform::Channel::Error);
    const bool isSeen = isOurs && mClock.elapsed() >= kFirstDrawMs && !mRunning.empty();
    mIsDrawn = mIsDrawn && isOurs;
    draw(isSeen ? block(Platform::terminalSize(Platform::Channel::Error)) : QStringList());
}

QStringList TerminalReporter::block(Platform::TerminalSize size) const
{
    // The last column stays free: what fills it makes terminals break the line, each in its own way.
    const int columns = size.columns - 1;
    const auto most = size_t(std::max(size.rows - 2, 1));
    QStringList lines;
    for (const auto& [index, job] : mRunning) {
        if (size_t(lines.size()) < most)
            lines.append(jobLine(job, columns));
    }
    if (mFiles > 1)
        lines.append(wholeLine(columns));
    return lines;
}

QString TerminalReporter::jobLine(const Running& job, int columns) const
{
    QString text = job.isVideo ? job.progress() : timeText(job.clock.elapsed());
    if (job.isVideo && columns >= kColumnsForBar) {
        const int cells = int(std::clamp(job.share, 0.0, 1.0) * kBarCells);
        text = u"[%1] %2"_s.arg(QString(cells, u'#').leftJustified(kBarCells, u'-'), text);
    }
    const int left = columns - columnsOf(text) - 2;
    if (left < 1)
        return cutTo(text, columns);
    return text + "  "_L1 + cutTo(job.name, left, Keep::End);
}

QString TerminalReporter::wholeLine(int columns) const
{
    double doneBytes = double(mDoneBytes);
    for (const auto& [index, job] : mRunning)
        doneBytes += job.share * double(job.bytes);
    const double share = mBytes > 0 ? std::min(doneBytes / double(mBytes), 1.0) : 0;
    QString text = u"%1 of %2 files, %3 of %4"_s.arg(QString::number(mDoneFiles), QString::number(mFiles),
                                                     sizeText(qint64(doneBytes)), sizeText(mBytes));
    if (mSavedBytes > 0)
        text += u", saved %1"_s.arg(sizeText(mSavedBytes));
    constexpr qint64 kWarmUpMs = 2000;
    if (share > 0 && mClock.elapsed() > kWarmUpMs)
        text += u", %1 left"_s.arg(timeText(qint64(double(mClock.elapsed()) * (1 - share) / share)));
    return cutTo(text, columns);
}
