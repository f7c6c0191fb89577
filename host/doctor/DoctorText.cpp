#include "host/doctor/DoctorText.h"

#include "host/output/SizeText.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int kLabelWidth = 12;
// Some videos of a DVD's length; with less, jobs fail half-way.
constexpr qint64 kLittleRoomBytes = 1'000'000'000;

const struct
{
    const char* encoder;
    const char* remedy;
} kRemedies[] = {
    {"cJpeg",
     "it is mozjpeg's cjpeg under another name: the Debian package brings it, and scripts/setup in the "
     "sources builds it"},
    {"pngquant", "install the package pngquant"},
    {"ffmpeg", "install the package ffmpeg"},
};

class Lines
{
public:
    explicit Lines(bool onlyFaults) : mOnlyFaults(onlyFaults) {}

    void add(const char* label, const char* state, const QString& text)
    {
        mIsShown = !mOnlyFaults || QLatin1StringView(state) == "BAD"_L1;
        if (!mIsShown)
            return;
        const QString head = QLatin1StringView(label).toString().leftJustified(kLabelWidth);
        mText += (head + QLatin1StringView(state).toString().leftJustified(5) + text).trimmed() + u'\n';
    }
    /// What is to be done about the line before, or more of it.
    void more(const QString& text)
    {
        if (mIsShown && !text.isEmpty())
            mText += QString(kLabelWidth + 5, u' ') + text + u'\n';
    }
    QString text() const { return mText; }

private:
    const bool mOnlyFaults;
    bool mIsShown = true;
    QString mText;
};

QString remedyFor(const EncoderState& encoder)
{
    for (const auto& row : kRemedies) {
        if (encoder.name == QLatin1StringView(row.encoder))
            return QString::fromLatin1(row.remedy);
    }
    return {};
}

// The usual mistake: Debian's cjpeg, which is libjpeg-turbo's.
QString whatElseThereIs(const EncoderState& encoder)
{
    if (encoder.elsewhere.isEmpty())
        return {};
    if (encoder.name == "cJpeg"_L1 && !encoder.elsewhereVersion.startsWith("mozjpeg"_L1)) {
        return u"%1 won't do: it is no mozjpeg (%2) and reads no JPEG"_s.arg(encoder.elsewhere,
                                                                             encoder.elsewhereVersion);
    }
    return u"%1 would do (%2): put a link to it there"_s.arg(encoder.elsewhere, encoder.elsewhereVersion);
}

void addEncoder(Lines& lines, const EncoderState& encoder)
{
    const QByteArray label = encoder.name.toUtf8();
    const QString version = encoder.version.isEmpty() ? u"version unknown"_s : encoder.version;
    const QString where =
        encoder.target == encoder.path ? encoder.path : u"%1 -> %2"_s.arg(encoder.path, encoder.target);
    const QString found = u"%1, %2"_s.arg(version, where);
    switch (encoder.fault) {
    case EncoderFault::None:
        lines.add(label, "ok", found);
        for (const EncoderTrial& trial : encoder.trials) {
            lines.more(u"made a %1: %2 -> %3 in %4 ms"_s
                           .arg(trial.kind, sizeText(trial.before), sizeText(trial.after))
                           .arg(trial.elapsedMs));
        }
        return;
    case EncoderFault::Missing:
        lines.add(label, "BAD", u"there is no %1"_s.arg(encoder.path));
        lines.more(whatElseThereIs(encoder));
        return lines.more(remedyFor(encoder));
    case EncoderFault::NotRunning:
        lines.add(label, "BAD", u"%1 does not run: %2"_s.arg(where, encoder.detail));
        return lines.more(remedyFor(encoder));
    case EncoderFault::ReadsNoJpeg:
        lines.add(label, "BAD", u"the wrong cjpeg, it reads no JPEG: %1"_s.arg(found));
        return lines.more(remedyFor(encoder));
    case EncoderFault::TrialFailed:
        lines.add(label, "BAD", u"%1; failed with a %2"_s.arg(found, encoder.detail));
        return lines.more(remedyFor(encoder));
    case EncoderFault::NotTried:
        return lines.add(label, "?", found + u"; not tried"_s);
    }
}

void addModule(Lines& lines, const ModuleState& module)
{
    if (!module.error.isEmpty()) {
        lines.add("module", "BAD", module.error);
        return lines.more(u"install it again, or build it"_s);
    }
    lines.add("module", "ok",
              module.version.isEmpty() ? module.path : module.version + ", "_L1 + module.path);
    lines.more(module.ffmpeg.isEmpty() ? u"of an unknown FFmpeg"_s : "with FFmpeg "_L1 + module.ffmpeg);
}

void addTemporaryPlace(Lines& lines, const TemporaryPlace& place)
{
    if (!place.error.isEmpty()) {
        lines.add("temporary", "BAD", place.path + ": "_L1 + place.error);
        return lines.more(u"set TMPDIR to a folder that you may write to"_s);
    }
    const bool hasRoom = place.freeBytes >= kLittleRoomBytes;
    lines.add("temporary", hasRoom ? "ok" : "note",
              u"%1, %2 free"_s.arg(place.path, sizeText(place.freeBytes)));
    if (!hasRoom)
        lines.more(u"little for videos; TMPDIR names another folder"_s);
}

QString terminalText(const TerminalState& terminal)
{
    if (!terminal.isTerminal)
        return u"standard error is none; %1"_s.arg(terminal.isUtf8 ? "UTF-8"_L1 : "not UTF-8"_L1);
    return u"%1 columns, %2, %3"_s.arg(terminal.columns)
        .arg(terminal.hasColour ? "colour"_L1 : "no colour"_L1,
             terminal.isUtf8 ? "UTF-8"_L1 : "not UTF-8"_L1);
}

} // namespace

QString doctorText(const Diagnosis& diagnosis, bool onlyFaults)
{
    Lines lines(onlyFaults);
    lines.add("vxcompress", "", u"%1, with Qt %2"_s.arg(diagnosis.version, diagnosis.qtVersion));
    addModule(lines, diagnosis.module);
    for (const EncoderState& encoder : diagnosis.encoders)
        addEncoder(lines, encoder);
    addTemporaryPlace(lines, diagnosis.temporary);
    lines.add("terminal", "", terminalText(diagnosis.terminal));
    lines.add("", "", diagnosis.exitStatus() == 0 ? u"All is well."_s : u"Not all is well."_s);
    return lines.text();
}
