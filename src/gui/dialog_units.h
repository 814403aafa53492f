// Dialog units to pixels, as the dialog framework turns them: a horizontal
// unit is a quarter of the dialog font's average character width, a vertical
// unit an eighth of its height.
#pragma once

#include <QFont>
#include <QRect>
#include <QSize>

#include "platform/control_surface.h"

namespace fmconv::gui {

// The dialog's font: its face where installed, a plain sans-serif otherwise.
QFont DialogFont(const platform::DialogTemplate& dialogTemplate);

class DialogUnits {
  public:
    explicit DialogUnits(const QFont& font);
    int X(int units) const { return (units * baseX_ + 2) / 4; }
    int Y(int units) const { return (units * baseY_ + 4) / 8; }
    QRect Rect(int x, int y, int width, int height) const {
        return QRect(X(x), Y(y), X(width), Y(height));
    }
    QSize Size(int width, int height) const { return QSize(X(width), Y(height)); }

  private:
    int baseX_;
    int baseY_;
};

}  // namespace fmconv::gui
