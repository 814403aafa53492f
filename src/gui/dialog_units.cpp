#include "gui/dialog_units.h"

#include <QFontMetrics>

namespace fmconv::gui {

QFont DialogFont(const platform::DialogTemplate& t) {
    QFont font(QString::fromStdString(t.fontName), t.fontPoints);
    font.setStyleHint(QFont::SansSerif);
    return font;
}

DialogUnits::DialogUnits(const QFont& font) {
    const QFontMetrics metrics(font);
    // The average width of the 52 letters, rounded, as the framework takes it.
    const int letters = metrics.horizontalAdvance(
        QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"));
    baseX_ = (letters / 26 + 1) / 2;
    baseY_ = metrics.height();
    if (baseX_ < 1) baseX_ = 1;
    if (baseY_ < 1) baseY_ = 1;
}

}  // namespace fmconv::gui
