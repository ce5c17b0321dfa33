#include "dialogs/frmOptions.h"

#include "app/settings/Choices.h"
#include "app/settings/UserSettings.h"
#include "platform/basics/Failure.h"
#include "platform/text/Conversions.h"
#include "platform/windows/Appearance.h"
#include "platform/windows/Centring.h"
#include "platform/windows/Form.h"

#include <QIcon>
#include <QPixmap>

#include <algorithm>
#include <array>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

constexpr Placement StripPlacement{120, 120, 3975, 2655};
constexpr int TabHeight = 295; ///< 520 hundredths of a millimetre, in twips

enum Tab { PunchTab, CommunicationTab, ReaderTab };

constexpr std::int16_t OkButton = 0;
constexpr std::int16_t CancelButton = 1;

/// The check states for the stored values 0, 1 and 2.
constexpr std::array CheckStates{Qt::Unchecked, Qt::Checked, Qt::PartiallyChecked};

/// The number stored under `key`, as `convert` returns it; the key's fallback if that throws or the
/// number is not within 0 to `count` - 1.
template <typename Conversion>
std::int16_t storedIndex(const UserSettings::Key &key, Conversion convert, int count)
{
    try {
        const std::int16_t index = convert(UserSettings::read(key));
        if (index >= 0 && index < count)
            return index;
    } catch (const Failure &) {
        // fall back, as for an index that the control cannot show
    }
    return lenientNumber(QString::fromLatin1(key.fallback));
}

std::int16_t strictly(const QString &text)
{
    return strictNumber(text);
}

void showTime(DTPicker &picker, const UserSettings::Key &key)
{
    try {
        picker.Value(UserSettings::read(key));
    } catch (const Failure &) {
        picker.Value(QString::fromLatin1(key.fallback));
    }
}

/// In the same form in every regional format, because that may change before it is read.
QString storedTime(const DTPicker &picker)
{
    return picker.Value().toString(u"HH:mm:ss");
}

/// A transparent icon, created once.
const QIcon &noIcon()
{
    static const auto *const icon = [] {
        QPixmap nothing(16, 16);
        nothing.fill(Qt::transparent);
        return new QIcon(nothing);
    }();
    return *icon;
}

} // namespace

frmOptions::frmOptions(Host &host, QWidget &owner)
    : QDialog(&owner, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                          Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint),
      m_host(host)
{
    setObjectName(u"frmOptions"_s);
    setWindowTitle(u"Options"_s);
    setWindowIcon(noIcon()); // not its owner's
    setFixedSize(pixels(ClientWidth), pixels(ClientHeight));
    setFont(windowFont(WindowFontPoints));

    SSTab1 = new SSTab({u"Punch"_s, u"Communication"_s, QStringLiteral("MSR")}, StripPlacement,
                       pixels(TabHeight), this);
    SSTab1->setObjectName(u"SSTab1"_s);
    addPunchTab();
    addCommunicationTab();
    addReaderTab();
    addButtons();
    orderTabs();
    Form_Load();
}

void frmOptions::Show()
{
    centreOnScreen(*this);
    exec();
}

void frmOptions::addPunchTab()
{
    chkAutoSwitch = new QCheckBox(u"Enable auto-switch"_s, SSTab1->page(PunchTab));
    chkAutoSwitch->setObjectName(u"chkAutoSwitch"_s);
    SSTab1->placeOn(*chkAutoSwitch, {240, 600, 1935, 255});
    connect(chkAutoSwitch, &QCheckBox::clicked, this, [this] {
        chkAutoSwitch->setTristate(false); // the mixed state can be left but not chosen
        chkAutoSwitch_Click();
    });

    for (const int index : {0, 1}) {
        auto *picker = new DTPicker(SSTab1->page(PunchTab));
        picker->setObjectName(u"dtpClock(%1)"_s.arg(index));
        SSTab1->placeOn(*picker, {2280, index == 0 ? 1080 : 1560, 1455, 255});
        dtpClock.add(index, picker);
    }
    Label1.add(0, addLabel(PunchTab, "Label1(0)",
                           "Switch to Clock In after:", {240, 1080, 1815, 255}, dtpClock(0)));
    Label1.add(1, addLabel(PunchTab, "Label1(1)",
                           "Switch to Clock Out after:", {240, 1560, 2055, 255}, dtpClock(1)));
}

void frmOptions::addCommunicationTab()
{
    cboComport = addList(CommunicationTab, "cboComport", Choices::Ports, {2040, 600, 1455, 315});
    cboBaudRate =
        addList(CommunicationTab, "cboBaudRate", Choices::BaudRates, {2040, 1080, 1455, 315});
    cboSettings =
        addList(CommunicationTab, "cboSettings", Choices::LineFormats, {2040, 1560, 1455, 315});
    addLabel(CommunicationTab, "Label2", "MSR is connected to:", {240, 600, 1815, 255}, cboComport);
    addLabel(CommunicationTab, "Label3", "Baud Rate:", {240, 1080, 1575, 255}, cboBaudRate);
    addLabel(CommunicationTab, "Label4", "Settings:", {240, 1560, 1575, 255}, cboSettings);
}

void frmOptions::addReaderTab()
{
    cboTrack = addList(ReaderTab, "cboTrack", Choices::Tracks, {1560, 600, 1455, 315});
    addLabel(ReaderTab, "Label5", "Reading Track:", {240, 600, 1335, 255}, cboTrack);
}

void frmOptions::addButtons()
{
    for (const std::int16_t index : {OkButton, CancelButton}) {
        auto *button = new QPushButton(index == OkButton ? u"OK"_s : u"Cancel"_s, this);
        button->setObjectName(u"cmdCtrl(%1)"_s.arg(index));
        place(*button, {index == OkButton ? 1800 : 3000, 2880, 1092, 372});
        connect(button, &QPushButton::clicked, this, [this, index] { cmdCtrl_Click(index); });
        cmdCtrl.add(index, button);
    }
    cmdCtrl(OkButton)->setDefault(true);
    cmdCtrl(OkButton)->setFocus();
}

void frmOptions::orderTabs()
{
    const std::array<QWidget *, 10> order{
        cmdCtrl(OkButton), cmdCtrl(CancelButton), SSTab1->tabBar(), dtpClock(0), dtpClock(1),
        cboComport,        chkAutoSwitch,         cboBaudRate,      cboSettings, cboTrack};
    for (std::size_t i = 1; i < order.size(); ++i)
        setTabOrder(order[i - 1], order[i]);
}

Label *frmOptions::addLabel(int tab, const char *name, const char *caption,
                            const Placement &placement, QWidget *named)
{
    auto *label = new Label(QString::fromLatin1(caption), SSTab1->page(tab));
    label->setObjectName(QString::fromLatin1(name));
    label->setBuddy(named);
    SSTab1->placeOn(*label, placement);
    return label;
}

QComboBox *frmOptions::addList(int tab, const char *name, std::span<const char *const> items,
                               const Placement &placement)
{
    auto *list = new QComboBox(SSTab1->page(tab));
    list->setObjectName(QString::fromLatin1(name));
    for (const char *item : items)
        list->addItem(QString::fromLatin1(item));
    SSTab1->placeOn(*list, placement);
    return list;
}

void frmOptions::Form_Load()
{
    chkAutoSwitch->setCheckState(CheckStates[static_cast<std::size_t>(
        storedIndex(UserSettings::AutoSwitch, strictly, static_cast<int>(CheckStates.size())))]);
    showTime(*dtpClock(0), UserSettings::ClockIn);
    showTime(*dtpClock(1), UserSettings::ClockOut);
    cboComport->setCurrentIndex(storedIndex(UserSettings::Comport, strictly, cboComport->count()));
    cboBaudRate->setCurrentIndex(
        storedIndex(UserSettings::BaudRate, strictly, cboBaudRate->count()));
    cboSettings->setCurrentIndex(storedIndex(UserSettings::Format, strictly, cboSettings->count()));
    cboTrack->setCurrentIndex(storedIndex(UserSettings::Track, lenientNumber, cboTrack->count()));
    chkAutoSwitch_Click();
    SSTab1->Tab(PunchTab);
    m_isOK = False;
}

void frmOptions::chkAutoSwitch_Click()
{
    const bool enabled = chkAutoSwitch->checkState() != Qt::Unchecked;
    Label1(0)->setEnabled(enabled);
    Label1(1)->setEnabled(enabled);
    dtpClock(0)->setEnabled(enabled);
    dtpClock(1)->setEnabled(enabled);
}

void frmOptions::cmdCtrl_Click(std::int16_t Index)
{
    try {
        if (Index == OkButton)
            saveSettings();
        m_isOK = Index == OkButton ? True : False;
        done(Index == OkButton ? QDialog::Accepted : QDialog::Rejected);
    } catch (const Failure &failure) {
        m_host.MsgBox(failure);
    }
}

void frmOptions::saveSettings()
{
    const auto checkValue =
        std::ranges::find(CheckStates, chkAutoSwitch->checkState()) - CheckStates.begin();
    UserSettings::write(UserSettings::AutoSwitch, QString::number(checkValue));
    UserSettings::write(UserSettings::ClockIn, storedTime(*dtpClock(0)));
    UserSettings::write(UserSettings::ClockOut, storedTime(*dtpClock(1)));
    UserSettings::write(UserSettings::Comport, QString::number(cboComport->currentIndex()));
    UserSettings::write(UserSettings::BaudRate, QString::number(cboBaudRate->currentIndex()));
    UserSettings::write(UserSettings::Format, QString::number(cboSettings->currentIndex()));
    UserSettings::write(UserSettings::Track, QString::number(cboTrack->currentIndex()));
}

} // namespace Tavrel
