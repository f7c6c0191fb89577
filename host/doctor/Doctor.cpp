#include "host/doctor/Doctor.h"

#include <QLoggingCategory>

#include <algorithm>

#include "host/doctor/DoctorJson.h"
#include "host/doctor/DoctorText.h"
#include "host/doctor/EncoderProbe.h"
#include "host/doctor/SystemProbe.h"
#include "host/doctor/TrialRun.h"
#include "host/job/ExitStatus.h"
#include "host/module/CompressorLibrary.h"
#include "host/module/TaskThread.h"
#include "host/system/Platform.h"
#include "host/system/PrivateFolder.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int kInterruptedBase = 128;

// Tries what can be tried, in a folder of this run alone.
void examine(Diagnosis& diagnosis)
{
    CompressorLibrary library;
    if (library.load())
        diagnosis.module = moduleStateOf(library.path());
    else
        diagnosis.module.error = library.errorString();
    if (!diagnosis.module.error.isEmpty() || !diagnosis.temporary.error.isEmpty())
        return;

    PrivateFolder folder(diagnosis.temporary.path, PrivateFolder::kTemporary);
    if (!folder.isValid()) {
        diagnosis.temporary.error = folder.errorString();
        return;
    }
    // The module asks the system for the place.
    Platform::setTemporaryFolder(folder.path());
    TaskThread tasks;
    TrialRun trials(tasks, folder);
    const Platform::Interrupts interrupts([&] { trials.stop(); });
    for (EncoderState& encoder : diagnosis.encoders) {
        if (encoder.fault == EncoderFault::NotTried)
            trials.examine(encoder);
    }
    diagnosis.interrupt = Platform::Interrupts::first();
}

} // namespace

int Diagnosis::exitStatus() const
{
    const auto isUsable = [](const EncoderState& encoder) { return encoder.fault == EncoderFault::None; };
    if (interrupt)
        return kInterruptedBase + interrupt;
    if (!temporary.error.isEmpty())
        return kUsage;
    if (!module.error.isEmpty() || !std::all_of(encoders.begin(), encoders.end(), isUsable))
        return kEncoderMissing;
    return kDelivered;
}

int runDoctor(const DoctorOptions& options)
{
    QLoggingCategory::setFilterRules(u"default.debug=false"_s);
    Diagnosis diagnosis;
    diagnosis.version = QLatin1String(VXC_VERSION);
    diagnosis.qtVersion = QString::fromLatin1(qVersion());
    // Before anything changes them.
    diagnosis.terminal = terminalState();
    diagnosis.temporary = temporaryPlace();
    diagnosis.encoders = findEncoders();
    examine(diagnosis);
    const QString text =
        options.json ? QString::fromUtf8(doctorJson(diagnosis)) : doctorText(diagnosis, options.quiet);
    if (!diagnosis.interrupt)
        Platform::write(Platform::Channel::Output, text);
    return diagnosis.exitStatus();
}
