#include <QCoreApplication>
#include <QLoggingCategory>

#include <cstdio>

#include "host/PathCheck.h"
#include "host/Platform.h"
#include "host/Report.h"
#include "host/Runner.h"

static int answer(const NoJob& noJob)
{
    if (noJob.status == kDelivered)
        std::fputs(noJob.text.toUtf8().constData(), stdout);
    else
        printError(noJob.text);
    return noJob.status;
}

int main(int argc, char** argv)
{
    Platform::prepare();
    const QCoreApplication app(argc, argv);

    const std::variant<Options, NoJob> parsed = parseOptions(app.arguments());
    const auto* const options = std::get_if<Options>(&parsed);
    if (!options)
        return answer(*std::get_if<NoJob>(&parsed));
    const QString error = checkPaths(*options);
    if (!error.isEmpty()) {
        printError(error);
        return kUsage;
    }

    // The module's debug lines are for its developers.
    if (!options->verbose)
        QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
    return Runner(*options).exec();
}
