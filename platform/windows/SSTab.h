#pragma once

#include "platform/windows/Twips.h"

#include <QTabWidget>

namespace Tavrel
{

/// A tab strip whose tabs share its full width in one row. Controls on a tab are placed relative to
/// the corner of the strip itself.
class SSTab : public QTabWidget
{
public:
    /// `tabHeight` in pixels.
    SSTab(const QStringList &captions, const Placement &placement, int tabHeight, QWidget *parent);

    /// Brings the tab with this index to the front.
    void Tab(int index) { setCurrentIndex(index); }

    /// Places a control, a child of `page(tab)`, relative to the corner of the strip.
    void placeOn(QWidget &control, const Placement &placement) const;
    QWidget *page(int tab) const { return widget(tab); }
};

} // namespace Tavrel
