#include "host/job/Shard.h"

#include <QCryptographicHash>
#include <QRegularExpression>
#include <QtEndian>

#include "host/system/NativePath.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int kMaxCount = 1'000'000;

QByteArray bytesOf(const QString& name)
{
#ifdef Q_OS_WIN
    return name.toUtf8();
#else
    return NativePath::toBytes(name);
#endif
}

} // namespace

std::optional<Shard> Shard::parse(const QString& text)
{
    static const QRegularExpression kForm(u"\\A([1-9][0-9]{0,6})/([1-9][0-9]{0,6})\\z"_s);
    const QRegularExpressionMatch match = kForm.match(text);
    const Shard shard(match.captured(1).toInt(), match.captured(2).toInt());
    if (!match.hasMatch() || shard.mNumber > shard.mCount || shard.mCount > kMaxCount)
        return {};
    return shard;
}

bool Shard::holds(const QString& name) const
{
    if (isWhole())
        return true;
    const QString suffix = NativePath::suffix(name);
    QByteArray bytes = bytesOf(suffix.isEmpty() ? name : name.chopped(suffix.size() + 1));
    for (char& c : bytes) {
        if (c >= 'A' && c <= 'Z')
            c = char(c - 'A' + 'a');
    }
    const QByteArray hash = QCryptographicHash::hash(bytes, QCryptographicHash::Sha1);
    const auto number = qFromBigEndian<quint64>(hash.constData());
    return number % quint64(mCount) == quint64(mNumber - 1);
}
