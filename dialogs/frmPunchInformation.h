#pragma once

#include "platform/windows/Form.h"
#include "platform/windows/TextBox.h"

namespace Tavrel
{

/// Shows the person at the clock the punch just made. It only displays: SwipeHandling fills it,
/// shows it and stores the punch, whether or not it is closed afterwards.
class frmPunchInformation : public Form
{
public:
    /// The size of the client area, in twips.
    static constexpr int ClientWidth = 3855;
    static constexpr int ClientHeight = 2145;

    frmPunchInformation();

    /// Shows the window without waiting for the person. If it is already on the screen it is
    /// restored, raised and repainted at once.
    void Show();

    /// Waits until a window that was just shown is on the screen with its texts, because what
    /// follows may block for long; at most a quarter of a second. User input is not delivered
    /// meanwhile.
    void Refresh();

    TextBox *txtEmployee;
    TextBox *txtBadgeNumber;
    TextBox *txtPunchType;
    TextBox *txtDateTime;

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace Tavrel
