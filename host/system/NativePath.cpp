#include "host/system/NativePath.h"

#include <QDir>
#include <QStringDecoder>

using namespace Qt::StringLiterals;

namespace NativePath {

namespace {

constexpr char16_t kEscapeBase = 0xDC00;

bool isEscape(QChar letter)
{
    return letter.unicode() >= kEscapeBase + 0x80 && letter.unicode() <= kEscapeBase + 0xFF;
}

// A low surrogate with no high one before it.
bool isLoneEscape(const QString& text, qsizetype at)
{
    return isEscape(text.at(at)) && (at == 0 || !text.at(at - 1).isHighSurrogate());
}

} // namespace

#ifdef Q_OS_WIN

namespace {

// The longest path that every call takes as it is, with the names in it when it is a folder.
constexpr qsizetype kPlainLength = 200;

} // namespace

QString fromNative(const std::filesystem::path& path)
{
    QString text = QDir::fromNativeSeparators(QString::fromStdWString(path.native()));
    if (text.startsWith("//?/"_L1))
        text.remove(0, 4);
    return text;
}

std::filesystem::path toNative(const QString& text)
{
    const QString path = QDir::toNativeSeparators(text);
    if (path.size() < kPlainLength || path.startsWith("\\\\"_L1))
        return path.toStdWString();
    return (u"\\\\?\\"_s + QDir::toNativeSeparators(absolute(text))).toStdWString();
}

#else

QString fromBytes(const QByteArray& bytes)
{
    QStringDecoder whole(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = whole(bytes);
    if (!whole.hasError())
        return text;
    text.clear();
    for (qsizetype at = 0; at < bytes.size();) {
        // The longest piece of one letter that decodes; a byte that begins none stands for itself.
        qsizetype length = 1;
        for (; length <= 4 && at + length <= bytes.size(); ++length) {
            QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
            const QString letter = decoder(bytes.mid(at, length));
            if (!decoder.hasError()) {
                text += letter;
                break;
            }
        }
        if (length > 4 || at + length > bytes.size()) {
            text += QChar(char16_t(kEscapeBase + static_cast<uchar>(bytes.at(at))));
            length = 1;
        }
        at += length;
    }
    return text;
}

QByteArray toBytes(const QString& text)
{
    QByteArray bytes;
    qsizetype begun = 0;
    for (qsizetype at = 0; at < text.size(); ++at) {
        if (!isLoneEscape(text, at))
            continue;
        bytes += QStringView(text).mid(begun, at - begun).toUtf8();
        bytes += static_cast<char>(text.at(at).unicode() - kEscapeBase);
        begun = at + 1;
    }
    return bytes + QStringView(text).mid(begun).toUtf8();
}

QString fromNative(const std::filesystem::path& path)
{
    const std::string& native = path.native();
    return fromBytes(QByteArray(native.data(), qsizetype(native.size())));
}

std::filesystem::path toNative(const QString& text)
{
    return toBytes(text).toStdString();
}

#endif

bool isPlain(const QString& text)
{
    for (qsizetype at = 0; at < text.size(); ++at) {
        if (isLoneEscape(text, at))
            return false;
    }
    return true;
}

QString fileName(const QString& path)
{
    return path.mid(path.lastIndexOf(u'/') + 1);
}

QString suffix(const QString& path)
{
    const QString name = fileName(path);
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot > 0 ? name.mid(dot + 1) : QString();
}

QString baseName(const QString& path)
{
    const QString name = fileName(path);
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot > 0 ? name.left(dot) : name;
}

QString folder(const QString& path)
{
    const qsizetype slash = path.lastIndexOf(u'/');
    if (slash < 0)
        return u"."_s;
    return slash == 0 ? u"/"_s : path.left(slash);
}

QString join(const QString& folder, const QString& name)
{
    if (folder.isEmpty() || folder == u'.')
        return name;
    return folder.endsWith(u'/') ? folder + name : folder + u'/' + name;
}

QString absolute(const QString& path)
{
    if (QDir::isAbsolutePath(path))
        return QDir::cleanPath(path);
    std::error_code error;
    const QString here = fromNative(std::filesystem::current_path(error));
    return QDir::cleanPath(join(here, path));
}

} // namespace NativePath
