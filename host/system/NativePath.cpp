#include "host/system/NativePath.h"

#include <QDir>
#include <QStringDecoder>

#include <optional>

#ifdef Q_OS_WIN
#include "process/Files.h"
#endif

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

QString fromNative(const std::filesystem::path& path)
{
    const QString text = QDir::fromNativeSeparators(QString::fromStdWString(path.native()));
    if (text.startsWith("//?/UNC/"_L1))
        return u"//"_s + text.mid(8);
    return text.startsWith("//?/"_L1) ? text.mid(4) : text;
}

std::filesystem::path toNative(const QString& text)
{
    // The longest path that every call takes as it is, with the names in it when it is a folder.
    constexpr qsizetype kPlainLength = 200;
    if (text.size() < kPlainLength)
        return QDir::toNativeSeparators(text).toStdWString();
    return Files::native(text);
}

#else

namespace {

// Nothing when it is no UTF-8.
std::optional<QString> decoded(const QByteArray& bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder(bytes);
    return decoder.hasError() ? std::nullopt : std::optional(std::move(text));
}

} // namespace

QString fromBytes(const QByteArray& bytes)
{
    if (const auto whole = decoded(bytes))
        return *whole;
    QString text;
    for (qsizetype at = 0; at < bytes.size();) {
        qsizetype length = 1;
        std::optional<QString> letter;
        while (length <= 4 && !(letter = decoded(bytes.mid(at, length))))
            ++length;
        // A byte that begins no character stands for itself.
        text += letter ? *letter : QChar(char16_t(kEscapeBase + static_cast<uchar>(bytes.at(at))));
        at += letter ? length : 1;
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
