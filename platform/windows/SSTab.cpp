#include "platform/windows/SSTab.h"

#include <QProxyStyle>
#include <QStyle>
#include <QStyleOptionTabWidgetFrame>
#include <QTabBar>

namespace Tavrel
{

namespace
{

/// The desktop's style, with captions nearly as wide as their tabs.
class TightStyle : public QProxyStyle
{
public:
    int pixelMetric(PixelMetric metric, const QStyleOption *option,
                    const QWidget *widget) const override
    {
        constexpr int HorizontalSpace = 8;
        return metric == PM_TabBarTabHSpace ? HorizontalSpace
                                            : QProxyStyle::pixelMetric(metric, option, widget);
    }
};

class EvenTabBar : public QTabBar
{
public:
    EvenTabBar(int stripWidth, int tabHeight, QWidget *parent)
        : QTabBar(parent), m_stripWidth(stripWidth), m_tabHeight(tabHeight)
    {
        setUsesScrollButtons(false);
        setStyle(&m_style);
    }

protected:
    QSize tabSizeHint(int) const override { return {m_stripWidth / count(), m_tabHeight}; }
    QSize minimumTabSizeHint(int tab) const override { return tabSizeHint(tab); }

private:
    int m_stripWidth;
    int m_tabHeight;
    TightStyle m_style;
};

} // namespace

SSTab::SSTab(const QStringList &captions, const Placement &placement, int tabHeight,
             QWidget *parent)
    : QTabWidget(parent)
{
    place(*this, placement);
    setFocusPolicy(Qt::NoFocus); // the tab bar takes it; a second tab stop would trap it
    setTabBar(new EvenTabBar(width(), tabHeight, this));
    for (const QString &caption : captions)
        addTab(new QWidget, caption);
}

void SSTab::placeOn(QWidget &control, const Placement &placement) const
{
    place(control, placement);
    QStyleOptionTabWidgetFrame frame;
    initStyleOption(&frame);
    control.move(control.pos() -
                 style()->subElementRect(QStyle::SE_TabWidgetTabContents, &frame, this).topLeft());
}

} // namespace Tavrel
