#include "tests/support/FakeEncoder.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <utility>

#ifdef Q_OS_WIN
#include <qt_windows.h>
#else
#include <csignal>
#endif

static bool isAlive(qint64 processId)
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

// The records lie beside the program: a test looks for what is left in the temporary location.
FakeEncoder::FakeEncoder()
    : mRecords(QCoreApplication::applicationDirPath() + QStringLiteral("/records-XXXXXX"))
{
    qputenv("FAKE_RECORD", QFile::encodeName(mRecords.path()));
}

FakeEncoder::~FakeEncoder()
{
    reset();
    qunsetenv("FAKE_RECORD");
}

FakeEncoder& FakeEncoder::set(const char* variable, const QByteArray& value)
{
    mVariables.append(variable);
    qputenv(variable, value);
    return *this;
}

void FakeEncoder::reset()
{
    for (const QByteArray& variable : std::exchange(mVariables, {}))
        qunsetenv(variable.constData());
}

QList<FakeEncoder::Run> FakeEncoder::runs() const
{
    QList<Run> found;
    for (const QFileInfo& info : records("*.arguments")) {
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

bool FakeEncoder::allGone() const
{
    const QFileInfoList all = records("*.arguments");
    return std::none_of(all.begin(), all.end(),
                        [](const QFileInfo& info) { return isAlive(info.baseName().toLongLong()); });
}

QFileInfoList FakeEncoder::records(const char* pattern) const
{
    return QDir(mRecords.path())
        .entryInfoList({QString::fromLatin1(pattern)}, QDir::Files, QDir::Time | QDir::Reversed);
}
