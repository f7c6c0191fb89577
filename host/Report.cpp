#include "host/Report.h"

#include <cstdio>

namespace {

void print(std::FILE* stream, const QString& text)
{
    std::fputs(text.toUtf8().constData(), stream);
    std::fflush(stream);
}

} // namespace

void printResult(const QString& line)
{
    print(stdout, line + u'\n');
}

void printError(const QString& text)
{
    print(stderr, QStringLiteral("vxcompress: %1\n").arg(text));
}

void printProgress(const QString& text)
{
    print(stderr, text);
}
