#include "image/PlainNames.h"

#include <QFileInfo>
#include <QStringList>

#include <algorithm>
#include <array>

#include "image/Delivery.h"
#include "image/Workspace.h"
#include "process/Files.h"

using namespace Qt::StringLiterals;

namespace {

// The suffixes that make ffmpeg look for a pattern, as tried with 5.1; a video's name is never one.
bool isPictureSuffix(const QString& suffix)
{
    static const QStringList kSuffixes =
        u"jpeg jpg jps mpo ljpg jls png pns mng ppm pnm pgm pgmyuv pbm pam pfm phm y raw bmp tga "
        "tiff tif sgi ptx pcd pcx pic pct pict sun ras rs im1 im8 im24 dds j2c jp2 jpc j2k dpx "
        "exr xbm xface xpm webp xwd img ximg timg svg svgz pix vbn wbmp qoi hdr gem jxl dng cri "
        "sunras im32 yuv10 "
        "mpg1-img mpg2-img mpg4-img"_s.split(u' ');
    return kSuffixes.contains(suffix, Qt::CaseInsensitive);
}

// One field "%d" or "%03d" makes a pattern. With two, or with a "%" before anything else, ffmpeg takes the
// whole name as it is.
bool hasNumberField(const QString& path)
{
    int fields = 0;
    for (qsizetype i = path.indexOf(u'%'); i >= 0; i = path.indexOf(u'%', i)) {
        ++i;
        while (i < path.size() && path[i] >= u'0' && path[i] <= u'9')
            ++i;
        const QChar kind = i < path.size() ? path[i++] : QChar();
        if (kind == u'd')
            ++fields;
        else if (kind != u'%')
            return false;
    }
    return fields == 1;
}

// "%*", "%?", "%[" and "%{": a source whose name has one is sought by wildcards.
bool hasWildcard(const QString& path)
{
    static constexpr std::array kWildcards{u'*', u'?', u'[', u']', u'{', u'}'};
    return std::any_of(kWildcards.begin(), kWildcards.end(),
                       [&path](char16_t wildcard) { return path.contains(QString(u'%') + wildcard); });
}

bool isPattern(const QString& path)
{
    return path.contains(u'%') && isPictureSuffix(QFileInfo(path).suffix()) &&
           (hasNumberField(path) || hasWildcard(path));
}

// A file name that is no pattern, also in a folder whose name has a number field: that makes two.
QString nameIn(const QString& folder, const QString& base, const QString& suffix)
{
    const QString path = folder + u'/' + base;
    return (hasNumberField(folder) ? path + "%d"_L1 : path) + u'.' + suffix;
}

} // namespace

PlainNames::PlainNames(const QString& inputPath, const QString& outputPath)
    : mInputPath(inputPath), mOutputPath(outputPath), mInput(inputPath), mOutput(outputPath)
{
}

PlainNames PlainNames::forRun(const QString& inputPath, const QString& outputPath)
{
    PlainNames names(inputPath, outputPath);
    if (isPattern(inputPath)) {
        names.mLinkFolder = makePrivateFolder();
        names.mInput = nameIn(names.mLinkFolder, u"source"_s, QFileInfo(inputPath).suffix());
        names.mIsReadable = !names.mLinkFolder.isEmpty() &&
                            (!Files::link(Files::native(inputPath), Files::native(names.mInput)) ||
                             !QFileInfo(inputPath).isFile() || copyFile(inputPath, names.mInput));
    }
    if (isPattern(outputPath)) {
        const QFileInfo beside(privateNameBeside(finalPath(outputPath)));
        names.mOutput = nameIn(beside.path(), beside.fileName(), QFileInfo(outputPath).suffix());
    }
    return names;
}

bool PlainNames::deliver() const
{
    if (mOutput == mOutputPath || !QFileInfo::exists(mOutput))
        return true;
    const QString place = finalPath(mOutputPath);
    const bool free = !QFileInfo(place).isDir() && !isSameFile(place, mInputPath);
    if (free && !Files::rename(Files::native(mOutput), Files::native(place), true))
        return true;
    Files::remove(Files::native(mOutput));
    return false;
}

bool PlainNames::removeOutput() const
{
    return removeFailedOutput(mOutput, mInputPath);
}

bool PlainNames::removeLink() const
{
    return removeWorkspace(mLinkFolder);
}

std::function<bool(bool)> PlainNames::cleanUp() const
{
    return [names = *this](bool mayHaveOutput) {
        const bool outputGone = !mayHaveOutput || names.removeOutput();
        return names.removeLink() && outputGone;
    };
}
