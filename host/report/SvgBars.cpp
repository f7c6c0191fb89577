#include "host/report/SvgBars.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// In the image's own units.
constexpr int kRow = 22;
constexpr int kBarHeight = 16;
constexpr int kLabelWidth = 150;
constexpr int kBarWidth = 420;
constexpr int kTextWidth = 190;

} // namespace

QString SvgBars::draw(const QString& title, const QList<Bar>& bars)
{
    double most = 0;
    for (const Bar& bar : bars)
        most = std::max(most, bar.value);
    QString svg =
        u"<svg xmlns=\"http://www.w3.org/2000/svg\" role=\"img\" viewBox=\"0 0 %1 %2\" width=\"%1\" "
        "height=\"%2\">\n<title>%3</title>\n"_s.arg(kLabelWidth + kBarWidth + kTextWidth)
            .arg(kRow * std::max<qsizetype>(bars.size(), 1))
            .arg(title.toHtmlEscaped());
    int top = 0;
    for (const Bar& bar : bars) {
        const double width = most > 0 ? kBarWidth * std::max(bar.value, 0.0) / most : 0;
        const int line = top + kBarHeight - 3;
        svg += u"<text x=\"%1\" y=\"%2\" text-anchor=\"end\">%3</text>"_s.arg(kLabelWidth - 8)
                   .arg(line)
                   .arg(bar.label.toHtmlEscaped()) +
               u"<rect class=\"%1\" x=\"%2\" y=\"%3\" width=\"%4\" height=\"%5\"/>"_s.arg(bar.css)
                   .arg(kLabelWidth)
                   .arg(top)
                   .arg(width, 0, 'f', 1)
                   .arg(kBarHeight) +
               u"<text x=\"%1\" y=\"%2\">%3</text>\n"_s.arg(kLabelWidth + width + 6, 0, 'f', 1)
                   .arg(line)
                   .arg(bar.text.toHtmlEscaped());
        top += kRow;
    }
    return svg + "</svg>\n"_L1;
}
