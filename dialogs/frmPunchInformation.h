#pragma once

#include "platform/windows/Form.h"
#include "platform/windows/TextBox.h"

namespace Tavrel
{

/// Shows the person at the clock what was just punched. Display and nothing else: the swipe
/// handling fills it, shows it and stores the punch, whether or not it is closed afterwards.
class frmPunchInformation : public Form
{
public:
    /// The size of the client area, in twips.
    static constexpr int ClientWidth = 3855;
    static constexpr int ClientHeight = 2145;

    frmPunchInformation();

    /// Shows the window without waiting for the person; when it is on the screen already it is
    /// restored and raised, and shows at once what it was filled with.
    void Show();

    /// Waits until a window that was just shown is on the screen with its texts, for what follows
    /// may block for long; a quarter of a second at the most. No input of the user is delivered
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
