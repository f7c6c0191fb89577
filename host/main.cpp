#include <QCoreApplication>

#include <tuple>

#include "host/cli/CommandLine.h"
#include "host/doctor/Doctor.h"
#include "host/output/Reporter.h"
#include "host/report/ReportCommand.h"
#include "host/run/Batch.h"
#include "host/system/Platform.h"

using namespace Qt::StringLiterals;

static int answer(const NoJob& noJob, bool asJson)
{
    Options saying;
    saying.json = asJson;
    if (noJob.status == kDelivered)
        Platform::write(Platform::Channel::Output, noJob.text);
    else
        makeReporter(saying)->refused(noJob.text);
    return noJob.status;
}

int main(int argc, char** argv)
{
    Platform::prepare();
    const QCoreApplication app(argc, argv);
    // Qt finds it out at the first call and keeps it, and two threads must not do so at once.
    std::ignore = QCoreApplication::applicationDirPath();

    const QStringList arguments = Platform::arguments(argc, argv);
    const CommandLine::Request request = CommandLine().parse(arguments);
    if (const auto* const doctor = std::get_if<DoctorOptions>(&request))
        return runDoctor(*doctor);
    if (const auto* const report = std::get_if<ReportOptions>(&request))
        return runReport(*report);
    const auto* const options = std::get_if<Options>(&request);
    if (!options)
        return answer(*std::get_if<NoJob>(&request), arguments.contains("--json"_L1));
    const std::unique_ptr<JobEvents> reporter = makeReporter(*options);
    const ModuleLog log(*options, *reporter);
    return runBatch(*options, *reporter);
}
