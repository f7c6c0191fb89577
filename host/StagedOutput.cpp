#include "host/StagedOutput.h"

#include <QFile>
#include <QFileInfo>

#include <filesystem>

StagedOutput::StagedOutput(const QString& outputPath, bool replace)
    : mFinalPath(finalPath(outputPath)), mReplace(replace),
      mFolder(QFileInfo(mFinalPath).path(), QStringLiteral(".vxcompress-")),
      mPath(mFolder.filePath(QFileInfo(outputPath).fileName()))
{
}

QString StagedOutput::finalPath(const QString& outputPath)
{
    constexpr int kMaxLinks = 40;
    QFileInfo info(QFileInfo(outputPath).absoluteFilePath());
    for (int links = 0; info.isSymLink() && links < kMaxLinks; ++links)
        info.setFile(info.symLinkTarget());
    return info.absoluteFilePath();
}

QString StagedOutput::deliver()
{
    if (!mReplace) {
        // Refuses when somebody made a file there in the meantime.
        QFile result(mPath);
        return result.rename(mFinalPath) ? QString() : result.errorString();
    }
    const QFileInfo existing(mFinalPath);
    if (existing.exists())
        QFile::setPermissions(mPath, existing.permissions());
    std::error_code error;
    std::filesystem::rename(QFileInfo(mPath).filesystemFilePath(), existing.filesystemFilePath(), error);
    return error ? QString::fromLocal8Bit(error.message().c_str()) : QString();
}
