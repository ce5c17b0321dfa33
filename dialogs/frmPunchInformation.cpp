#include "dialogs/frmPunchInformation.h"

#include "platform/windows/Appearance.h"
#include "platform/windows/Label.h"
#include "platform/windows/Twips.h"

#include <QCoreApplication>
#include <QIcon>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QTimer>
#include <QWindow>

#include <array>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

/// One row of the window, from top to bottom: a label and the text box that it names.
struct Line {
    const char *labelName;
    const char *caption;
    Placement labelPlacement;
    const char *boxName;
    Placement boxPlacement;
    TextBox *frmPunchInformation::*box;
    TextBox::Overlong overlong = TextBox::Overlong::ShowsBeginning;
};

constexpr std::array Lines{
    Line{"Label1",
         "Employee:",
         {120, 120, 1335, 255},
         "txtEmployee",
         {1560, 120, 2175, 285},
         &frmPunchInformation::txtEmployee},
    Line{"Label2",
         "Badge Number:",
         {120, 480, 1215, 255},
         "txtBadgeNumber",
         {1560, 480, 2175, 285},
         &frmPunchInformation::txtBadgeNumber},
    Line{"Label3",
         "Punch Type:",
         {120, 840, 1215, 255},
         "txtPunchType",
         {1560, 840, 2175, 285},
         &frmPunchInformation::txtPunchType},
    Line{"Label4",
         "Date/Time:",
         {120, 1200, 1215, 255},
         "txtDateTime",
         {1560, 1200, 2175, 285},
         &frmPunchInformation::txtDateTime,
         TextBox::Overlong::IsSqueezed},
};

constexpr Placement CloseButton{2760, 1680, 975, 375};

/// The position of both lines of the separator, in twips.
constexpr int SeparatorLeft = 120;
constexpr int SeparatorRight = 3720;
constexpr int SeparatorTop = 1560;

/// Created once: Qt caches every icon that it has shown, up to several megabytes.
const QIcon &pictureOfAPunch()
{
    static const auto *const icon = new QIcon(u":/dialogs/pictures/punch32.png"_s);
    return *icon;
}

} // namespace

frmPunchInformation::frmPunchInformation()
    : Form(u"frmPunchInformation"_s, u"Punch Information"_s, ClientWidth, ClientHeight,
           Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint)
{
    setWindowIcon(pictureOfAPunch());
    setFont(windowFont(WindowFontPoints));

    // The boxes have the grey background of the window; only their sunken frames set them off.
    QPalette onWindow = palette();
    onWindow.setBrush(QPalette::Base, palette().brush(QPalette::Window));

    for (const Line &line : Lines) {
        auto *label = new Label(QString::fromLatin1(line.caption), this);
        label->setObjectName(QString::fromLatin1(line.labelName));
        place(*label, line.labelPlacement);

        auto *box = new TextBox(line.overlong, this);
        box->setObjectName(QString::fromLatin1(line.boxName));
        box->setPalette(onWindow);
        place(*box, line.boxPlacement);
        label->setBuddy(box);
        this->*line.box = box;
    }

    auto *cmdCtrl = new QPushButton(u"&Close"_s, this);
    cmdCtrl->setObjectName(u"cmdCtrl"_s);
    place(*cmdCtrl, CloseButton);
    connect(cmdCtrl, &QPushButton::clicked, this, &QWidget::close);
    setCancelButton(cmdCtrl);
}

void frmPunchInformation::Show()
{
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
    if (windowHandle()->isExposed())
        repaint();
}

void frmPunchInformation::Refresh()
{
    constexpr int LongestWait = 250;
    QTimer limit;
    limit.setTimerType(Qt::PreciseTimer);
    limit.setSingleShot(true);
    limit.start(LongestWait);
    const QPointer<QWidget> window(this); // it may be closed meanwhile
    while (window && isVisible() && !windowHandle()->isExposed() && limit.isActive())
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents |
                                        QEventLoop::WaitForMoreEvents);
    if (window)
        repaint();
}

void frmPunchInformation::paintEvent(QPaintEvent *event)
{
    Form::paintEvent(event);
    constexpr int Left = pixels(SeparatorLeft);
    constexpr int Width = pixels(SeparatorRight) - Left;
    constexpr int Top = pixels(SeparatorTop);

    // A dark line two pixels wide under a light one of one pixel: an etched rule.
    QPainter painter(this);
    painter.fillRect(Left, Top - 1, Width, 2, palette().color(QPalette::Dark));
    painter.fillRect(Left, Top, Width, 1, palette().color(QPalette::Light));
}

} // namespace Tavrel
