#include "tests/support/FakeEncoder.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

#ifdef Q_OS_WIN
#include <qt_windows.h>
#else
#include <csignal>
#endif

namespace {

constexpr const char* kVariables[] = {"FAKE_DELAY_MS",  "FAKE_PROGRESS", "FAKE_OUTPUT",
                                      "FAKE_STDERR_MB", "FAKE_END",      "FAKE_EXIT"};

bool isAlive(qint64 processId)
{
#ifdef Q_OS_WIN
    const HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(processId));
    const bool alive = process && WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
    CloseHandle(process);
    return alive;
#else
    return ::kill(static_cast<pid_t>(processId), 0) == 0;
#endif
}

QFileInfoList records(const QTemporaryDir& folder, const QString& pattern)
{
    return QDir(folder.path()).entryInfoList({pattern}, QDir::Files, QDir::Time | QDir::Reversed);
}

} // namespace

// The records lie beside the program: a test looks for what is left in the temporary location.
FakeEncoder::FakeEncoder()
    : mRecords(QCoreApplication::applicationDirPath() + QStringLiteral("/records-XXXXXX"))
{
    reset();
    qputenv("FAKE_RECORD", QFile::encodeName(mRecords.path()));
}

FakeEncoder::~FakeEncoder()
{
    reset();
    qunsetenv("FAKE_RECORD");
}

FakeEncoder& FakeEncoder::set(const char* variable, const QByteArray& value)
{
    const bool known = std::any_of(std::begin(kVariables), std::end(kVariables),
                                   [variable](const char* name) { return qstrcmp(name, variable) == 0; });
    if (!known)
        qFatal("%s is no variable of the fake encoder", variable);
    qputenv(variable, value);
    return *this;
}

void FakeEncoder::reset()
{
    for (const char* variable : kVariables)
        qunsetenv(variable);
}

QList<FakeEncoder::Run> FakeEncoder::runs() const
{
    QList<Run> found;
    for (const QFileInfo& info : records(mRecords, QStringLiteral("*.arguments"))) {
        QFile file(info.filePath());
        if (!file.open(QIODevice::ReadOnly))
            continue;
        QStringList lines = QString::fromLocal8Bit(file.readAll()).split(u'\n');
        lines.removeLast();
        const QString program = lines.takeFirst();
        found.append({info.baseName().toLongLong(), QFileInfo(program).fileName(), lines});
    }
    return found;
}

int FakeEncoder::writtenCount() const
{
    return static_cast<int>(records(mRecords, QStringLiteral("*.written")).size());
}

bool FakeEncoder::allGone() const
{
    const QFileInfoList all = records(mRecords, QStringLiteral("*.arguments"));
    return std::none_of(all.begin(), all.end(),
                        [](const QFileInfo& info) { return isAlive(info.baseName().toLongLong()); });
}
