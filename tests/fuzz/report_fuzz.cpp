// Any bytes as what runs wrote with --json: the report of them is whole in each of its forms.
#include <QJsonDocument>
#include <QJsonObject>
#include <QXmlStreamReader>

#include "host/job/ExitStatus.h"
#include "host/job/Options.h"
#include "host/report/ReportCommand.h"
#include "tests/fuzz/Fuzz.h"

using namespace Qt::StringLiterals;

using Fuzz::require;

namespace {

void checkJson(const QByteArray& line)
{
    const QJsonObject sum = QJsonDocument::fromJson(line).object();
    require(sum.value(u"type") == u"report"_s && line.count('\n') == 1, "one object in one line");
    qint64 files = 0;
    for (const char* end : {"delivered", "kept", "skipped", "predicted", "failed", "unfinished"})
        files += sum.value(QLatin1String(end)).toInteger(-1);
    require(files == sum.value(u"files").toInteger(), "every file has one end");
    for (const char* name : {"runs", "seconds", "bytesBefore", "bytesAfter", "coreSeconds",
                             "filesPerCoreSecond", "bytesPerCoreSecond"}) {
        const QJsonValue value = sum.value(QLatin1String(name));
        require(value.isDouble() && value.toDouble() >= 0, name);
    }
}

void checkPage(const QString& path)
{
    QFile file(path);
    require(file.open(QIODevice::ReadOnly), "there is a page");
    QXmlStreamReader page(&file);
    while (!page.atEnd())
        page.readNext();
    require(!page.hasError(), qPrintable(page.errorString()));
    file.remove();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static Fuzz::Stdout output;
    const Fuzz::Input input(data, size);
    const QString stream = Fuzz::write(u"runs.ndjson"_s, input.rest());
    const QString page = Fuzz::scratch(u"page.html"_s);
    const int status = runReport({.files = {stream}, .html = page, .json = true});
    const QByteArray json = output.take();
    require(status == kDelivered || (status == kUsage && json.isEmpty()), "a report, or none");
    if (status != kDelivered)
        return 0;
    checkJson(json);
    checkPage(page);
    require(runReport({.files = {stream}, .html = {}}) == kDelivered, "for people, too");
    const QByteArray text = output.take();
    require(std::none_of(text.begin(), text.end(), [](char c) { return uchar(c) < ' ' && c != '\n'; }),
            "no control character reaches the terminal");
    return 0;
}
