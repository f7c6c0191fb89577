#include "host/output/Json.h"

#include <QJsonDocument>

#include "host/system/NativePath.h"

using namespace Qt::StringLiterals;

namespace {

constexpr Json::Word kBytesOfPath("Bytes"); // after the path's own key

} // namespace

QByteArray Json::line(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

void Json::addPath(QJsonObject& object, Word key, const QString& path)
{
    QString text = path;
#ifndef Q_OS_WIN
    if (!NativePath::isPlain(path)) {
        const QByteArray bytes = NativePath::toBytes(path);
        text = QString::fromUtf8(bytes);
        object.insert(key + kBytesOfPath, QString::fromLatin1(bytes.toBase64()));
    }
#endif
    object.insert(key, text);
}

QString Json::pathIn(const QJsonObject& object, Word key)
{
    const QString base64 = object.value(key + kBytesOfPath).toString();
    if (base64.isEmpty())
        return object.value(key).toString();
    const QByteArray bytes = QByteArray::fromBase64(base64.toLatin1());
#ifdef Q_OS_WIN
    // Another system's name: any text does that no other name has.
    return QString::fromLatin1(bytes);
#else
    return NativePath::fromBytes(bytes);
#endif
}
