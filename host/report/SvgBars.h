#pragma once

#include <QList>
#include <QString>

/// Horizontal bars as inline SVG, well-formed XML by itself.
namespace SvgBars {

struct Bar
{
    QString label; ///< left of it
    double value = 0;
    QString text; ///< right of it
    QString css;  ///< the class that gives its colour
};

/// Bars from zero to the largest value. `title` is what a screen reader says.
QString draw(const QString& title, const QList<Bar>& bars);

} // namespace SvgBars
