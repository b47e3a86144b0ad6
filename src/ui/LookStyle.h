// The toolkit's own style but for the few marks that it draws too coarse or too faint for this look. Main
// thread.
#pragma once

#include <QProxyStyle>

namespace marvo::ui {

class LookStyle final : public QProxyStyle {
public:
    LookStyle();

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* returned) const override;
};

} // namespace marvo::ui
