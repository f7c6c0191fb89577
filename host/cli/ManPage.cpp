#include "host/cli/ManPage.h"

#include <cstring>
#include <string>

#include "host/cli/OptionTable.h"

namespace {

constexpr char kBegin[] = R"(.SH NAME
vxcompress \- make image and video files smaller
.SH SYNOPSIS
.B vxcompress
.RI [ options ] " INPUT OUTPUT"
.br
.B vxcompress
.RI [ options ] " INPUT" ".\|.\|. " \-o " OUTPUT"
.br
.B vxcompress doctor
.RB [ \-\-json ]
.br
.B vxcompress report
.RB [ \-\-json ]
.RB [ \-\-html
.IR FILE ]
.IR FILE .\|.\|.
.SH DESCRIPTION
.B vxcompress
compresses JPEG, PNG and WebP images and videos, one or many in one call, with
all cores busy.
The suffix of an output chooses the encoder: jpg, jpeg, png, webp, or a video
container that can hold H.264.
What an input is, its content says.
.PP
A source is never harmed, and a result is whole or absent: it takes its place in
one step, once it is complete and has
been checked.
An image or video that would not become smaller is left as it is.
.PP
Results come on standard output, a line each and a summary; everything else
comes on standard error.
.SH OPTIONS
)";

constexpr char kEnd[] = R"(.SH DOCTOR
.B vxcompress doctor
tells which encoders, which module and which libraries there are, makes a tiny
encode with each, and says what to do
about what is wrong.
With
.B \-\-json
the same is one JSON object.
.SH REPORT
.B vxcompress report
adds up what many runs told with
.BR \-\-json ,
those that were killed included: what was saved, by kind, what failed, what took
longest, and how much a core did.
.B \-\-html
writes it as a page, too.
A file that is itself called report is given as ./report.
.SH EXIT STATUS
.TP
.B 0
All was delivered, or kept because it would not become smaller.
.TP
.B 1
Some files failed; standard error says which and why.
.TP
.B 2
Wrong usage, or inputs or outputs that cannot be used; nothing was begun.
.TP
.B 3
An encoder or the module is missing.
.TP
.B 128 and a signal's number
It was interrupted.
The first Ctrl-C ends what runs cleanly, the second one at once.
.SH ENVIRONMENT
.TP
.B TMPDIR
Where temporary files go.
.TP
.B NO_COLOR
Without colours, when it is set and not empty.
.SH MANY MACHINES
Several runs may work on one tree at once, on one machine or many, with
.BR \-\-skip\-existing :
a result that another run has delivered meanwhile counts as skipped.
.B \-\-shard
gives each its part; which part a file is in depends on its name alone.
.SH FILES
A run that was killed outright can leave folders named
.I .vxcompress-XXXXXX
beside its outputs and
.I vxcompress-XXXXXX
in the temporary location; a later run in the same place removes them.
.SH EXAMPLES
.nf
vxcompress photo.jpg smaller.jpg \-\-quality 75
vxcompress drawing.png drawing.png \-\-force
vxcompress \-r photos \-o web \-\-format webp
vxcompress video.mov smaller.mp4 \-\-quality 28 \-\-scale 2
vxcompress video.mov half.mp4 \-\-size 50%
find . \-name '*.jpg' \-print0 | vxcompress \-0 \-\-files\-from \- \-\-in\-place
.fi
.SH SEE ALSO
.BR ffmpeg (1),
.BR pngquant (1)
)";

// A bare hyphen would be typeset as one, and not found by who searches for an option.
std::string escaped(const char* text)
{
    std::string result;
    for (const char* c = text; *c; ++c) {
        if (*c == '-')
            result += "\\-";
        else if (*c == '\\')
            result += "\\e";
        else
            result += *c;
    }
    return result;
}

void writeOption(std::ostream& out, const OptionRow& row)
{
    out << ".TP\n\\fB";
    if (row.shortName)
        out << "\\-" << row.shortName << "\\fR, \\fB";
    out << "\\-\\-" << escaped(row.longName) << "\\fR";
    if (row.argument)
        out << "=\\fI" << row.argument << "\\fR";
    // A line that begins with a dot or a quote would be a command.
    out << "\n\\&" << escaped(row.help) << ".\n";
    if (row.choices)
        out << "One of: " << row.choices << ".\n";
    if (row.fallback)
        out << "Without it: " << escaped(row.fallback) << ".\n";
}

} // namespace

void writeManPage(std::ostream& out)
{
    out << ".TH VXCOMPRESS 1 " VXC_DATE " \"vxcompress " VXC_VERSION "\" \"User commands\"\n" << kBegin;
    const char* group = "";
    for (const OptionRow& row : optionTable()) {
        if (std::strcmp(row.group, group) != 0)
            out << ".SS " << row.group << '\n';
        group = row.group;
        writeOption(out, row);
    }
    out << kEnd;
}
