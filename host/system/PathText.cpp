#include "host/system/PathText.h"

#include <QList>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

QString escaped(char32_t letter)
{
    switch (letter) {
    case '\n':
        return u"\\n"_s;
    case '\t':
        return u"\\t"_s;
    case '\r':
        return u"\\r"_s;
    default:
        break;
    }
    // A byte that is no letter stands as a lone surrogate, whose lower half it is.
    const uint number = letter >= 0xDC80 && letter <= 0xDCFF ? letter - 0xDC00 : uint(letter);
    return number <= 0xFF ? u"\\x%1"_s.arg(number, 2, 16, QLatin1Char('0')) : u"\\u{%1}"_s.arg(number, 0, 16);
}

bool isUnfit(char32_t letter)
{
    switch (QChar::category(letter)) {
    case QChar::Other_Control:
    case QChar::Other_Surrogate:
    // Text that runs backwards, or is not to be seen, disguises a name.
    case QChar::Other_Format:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

int columnsOf(char32_t letter)
{
    const QChar::Category category = QChar::category(letter);
    if (category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing ||
        category == QChar::Other_Format)
        return 0;
    struct Range
    {
        char32_t first;
        char32_t last;
    };
    // What terminals show two columns wide: East Asian letters and images.
    static constexpr Range kWide[] = {{0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0xA4CF},
                                      {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},
                                      {0xFF00, 0xFF60},   {0xFFE0, 0xFFE6},   {0x1F300, 0x1F64F},
                                      {0x1F680, 0x1F6FF}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};
    for (const Range& range : kWide) {
        if (letter >= range.first && letter <= range.last)
            return 2;
    }
    return 1;
}

// Not toUcs4(), which makes a replacement character of a lone surrogate.
QList<char32_t> lettersOf(const QString& text)
{
    QList<char32_t> letters;
    letters.reserve(text.size());
    for (qsizetype at = 0; at < text.size(); ++at) {
        const QChar unit = text.at(at);
        const bool isPair =
            unit.isHighSurrogate() && at + 1 < text.size() && text.at(at + 1).isLowSurrogate();
        letters.append(isPair ? QChar::surrogateToUcs4(unit, text.at(++at)) : char32_t(unit.unicode()));
    }
    return letters;
}

} // namespace

QString shown(const QString& path)
{
    QString text;
    for (const char32_t letter : lettersOf(path)) {
        if (isUnfit(letter))
            text += escaped(letter);
        else
            text += QString::fromUcs4(&letter, 1);
    }
    return text;
}

QString shellWord(const QString& word)
{
    static const QRegularExpression kPlain(u"^[\\w@%+=:,./-]+$"_s);
    if (kPlain.match(word).hasMatch())
        return word;
    if (shown(word) != word)
        return u"$'%1'"_s.arg(shown(QString(word).replace(u'\\', "\\\\"_L1).replace(u'\'', "\\'"_L1)));
    return u'\'' + QString(word).replace(u'\'', "'\\''"_L1) + u'\'';
}

int columnsOf(const QString& text)
{
    int columns = 0;
    for (const char32_t letter : lettersOf(text))
        columns += columnsOf(letter);
    return columns;
}

QString cutTo(const QString& text, int columns, Keep keep)
{
    qsizetype surplus = columnsOf(text) - columns;
    if (surplus <= 0)
        return text;
    constexpr int kLeastForEllipsis = 8;
    const QString ellipsis = columns >= kLeastForEllipsis ? u"..."_s : QString();
    surplus += ellipsis.size();
    QList<char32_t> letters = lettersOf(text);
    while (surplus > 0 && !letters.isEmpty())
        surplus -= columnsOf(keep == Keep::End ? letters.takeFirst() : letters.takeLast());
    const QString kept = QString::fromUcs4(letters.constData(), letters.size());
    return keep == Keep::End ? ellipsis + kept : kept + ellipsis;
}
