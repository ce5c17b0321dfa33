#pragma once

#include "platform/basics/Boolean.h"
#include "platform/host/Host.h"
#include "platform/windows/ControlArray.h"
#include "platform/windows/DTPicker.h"
#include "platform/windows/Label.h"
#include "platform/windows/SSTab.h"
#include "platform/windows/Twips.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QPushButton>

#include <cstdint>
#include <span>

namespace Tavrel
{

/// The dialog in which the user edits the seven settings. It is created each time it is shown, and
/// then loads every setting; "OK" writes all seven, "Cancel" none. If a write fails, it shows a
/// message box and stays open; the settings before the failing one have been written.
class frmOptions : public QDialog
{
public:
    /// The size of the client area, in twips.
    static constexpr int ClientWidth = 4200;
    static constexpr int ClientHeight = 3330;

    /// `owner`: the window that the dialog belongs to; the dialog has no taskbar entry of its own.
    frmOptions(Host &host, QWidget &owner);

    /// Shows the dialog in the middle of the screen and returns when it is closed.
    void Show();

    /// True once "OK" has written all settings.
    Boolean IsOK() const { return m_isOK; }

private:
    void addPunchTab();
    void addCommunicationTab();
    void addReaderTab();
    void addButtons();
    void orderTabs();
    Label *addLabel(int tab, const char *name, const char *caption, const Placement &placement,
                    QWidget *named);
    QComboBox *addList(int tab, const char *name, std::span<const char *const> items,
                       const Placement &placement);

    void Form_Load();
    void chkAutoSwitch_Click();
    void cmdCtrl_Click(std::int16_t Index);
    void saveSettings();

    Host &m_host;
    Boolean m_isOK = False;
    SSTab *SSTab1;
    QCheckBox *chkAutoSwitch = nullptr;
    ControlArray<Label> Label1;
    ControlArray<DTPicker> dtpClock;
    QComboBox *cboComport = nullptr;
    QComboBox *cboBaudRate = nullptr;
    QComboBox *cboSettings = nullptr;
    QComboBox *cboTrack = nullptr;
    ControlArray<QPushButton> cmdCtrl;
};

} // namespace Tavrel
