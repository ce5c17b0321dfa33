#include "clock/ClockFace.h"

#include "clock/Figures.h"
#include "platform/windows/Appearance.h"
#include "platform/windows/Twips.h"

#include <QFrame>
#include <QLabel>
#include <QPixmap>

#include <array>
#include <vector>

namespace Tavrel
{

using namespace Qt::StringLiterals;

namespace
{

constexpr std::uint32_t Black = 0x00000000;
constexpr std::uint32_t Blue = 0x00C00000;
constexpr std::uint32_t Cyan = 0x00FFFF00;
constexpr std::uint32_t Grey = 0x00808080;
constexpr std::uint32_t White = 0x00FFFFFF;
constexpr std::uint32_t Yellow = 0x0000FFFF;

/// The images of a picture box from back to front: `count` images, their indices starting at
/// `backmost` and increasing by `step`, and the image `front` on top.
struct Stack {
    int backmost;
    int step;
    int count;
    int front;
};

struct PictureBox {
    int index;
    Placement placement;
    Stack images;
};

/// From back to front; from left to right except for the colons.
constexpr std::array PictureBoxes{
    PictureBox{0, {240, 240, 1095, 1575}, {8, -1, 9, 9}},
    PictureBox{1, {1320, 240, 1095, 1575}, {18, -1, 9, 19}},
    PictureBox{2, {3480, 240, 1095, 1575}, {20, 1, 9, 29}},
    PictureBox{3, {4560, 240, 1095, 1575}, {30, 1, 9, 39}},
    PictureBox{4, {2400, 240, 1095, 1575}, {0, 0, 0, 100}},
    PictureBox{5, {6720, 240, 1095, 1575}, {40, 1, 9, 49}},
    PictureBox{6, {7800, 240, 1095, 1575}, {50, 1, 9, 59}},
    PictureBox{7, {5640, 240, 1095, 1575}, {0, 0, 0, 60}},
};

/// The position of every image in its picture box, in twips.
constexpr int ImageLeft = 120;
constexpr int ImageTop = 120;

constexpr Placement FramePlacement{120, 1920, 4935, 1335};
constexpr Placement DatePlacement{5280, 2040, 3855, 495};

struct Caption {
    int index;
    const char *text;
    Placement placement;
};

constexpr std::array OptionCaptions{
    Caption{0, "Clock In", {240, 240, 2175, 855}},
    Caption{1, "Clock Out", {2520, 240, 2175, 855}},
};

/// From back to front.
constexpr std::array CommandCaptions{
    Caption{0, "&Options...", {5280, 2760, 1815, 495}},
    Caption{1, "&Exit", {7320, 2760, 1815, 495}},
};

constexpr double OptionPoints = 18;
constexpr double DatePoints = 12;

QString indexed(const char *name, int index)
{
    return u"%1(%2)"_s.arg(QLatin1String(name)).arg(index);
}

/// Uses a colour role that nothing else is drawn with: controls on the panel inherit its palette,
/// and buttons derive their shading from the default role of a window.
void paintBlack(QWidget &panel)
{
    QPalette palette = panel.palette();
    palette.setColor(QPalette::Shadow, storedColour(Black));
    panel.setPalette(palette);
    panel.setBackgroundRole(QPalette::Shadow);
    panel.setAutoFillBackground(true);
}

} // namespace

ClockFace::ClockFace(QWidget &window)
{
    paintBlack(window);
    addPictures(window);
    addOptions(window);
    addDateAndButtons(window);
}

void ClockFace::addPictures(QWidget &window)
{
    constexpr int FigureCount = ColonFigure + 1;
    std::vector<QPixmap> figures;
    figures.reserve(FigureCount);
    for (int figure = 0; figure < FigureCount; ++figure)
        figures.push_back(QPixmap::fromImage(drawFigure(figure, window.devicePixelRatioF())));

    const auto addImage = [&](int index, QWidget *box) {
        constexpr int FirstColon = 60;
        const int figure = index < FirstColon ? index % 10 : ColonFigure;
        auto *image = new Image(figures[static_cast<std::size_t>(figure)], box);
        image->setObjectName(indexed("img", index));
        image->setGeometry(pixels(ImageLeft), pixels(ImageTop), FigureWidth, FigureHeight);
        img.add(index, image);
    };

    for (const PictureBox &picture : PictureBoxes) {
        auto *box = new QLabel(&window); // screen readers support QLabel
        box->setObjectName(indexed("pic", picture.index));
        paintBlack(*box);
        place(*box, picture.placement);
        pic.add(picture.index, box);

        const Stack &stack = picture.images;
        for (int i = 0; i < stack.count; ++i)
            addImage(stack.backmost + i * stack.step, box);
        addImage(stack.front, box);
    }
}

void ClockFace::addOptions(QWidget &window)
{
    auto *Frame1 = new QFrame(&window);
    Frame1->setObjectName(u"Frame1"_s);
    Frame1->setAccessibleName(u"Punch Type"_s);
    paintBlack(*Frame1);
    QPalette border = Frame1->palette();
    border.setColor(QPalette::Light, storedColour(White));
    border.setColor(QPalette::Dark, storedColour(Grey));
    Frame1->setPalette(border);
    Frame1->setFrameStyle(static_cast<int>(QFrame::Box) | static_cast<int>(QFrame::Sunken));
    place(*Frame1, FramePlacement);
    Frame1->stackUnder(pic(5));

    for (const Caption &caption : OptionCaptions) {
        auto *option = new OptionButton(QString::fromLatin1(caption.text), Frame1);
        option->setObjectName(indexed("optEvent", caption.index));
        option->setFont(windowFont(OptionPoints, true));
        place(*option, caption.placement);
        optEvent.add(caption.index, option);
    }
    optEvent(0)->BackColor(storedColour(Yellow));
    optEvent(0)->ForeColor(storedColour(Blue));
    optEvent(0)->Value(true);
    optEvent(1)->BackColor(storedColour(Blue));
    optEvent(1)->ForeColor(storedColour(White));

    // From here on, a change of the selection restyles both buttons.
    for (const Caption &caption : OptionCaptions) {
        const auto index = static_cast<std::int16_t>(caption.index);
        QObject::connect(optEvent(index), &OptionButton::toggled, [this, index](bool selected) {
            if (selected)
                optEvent_Click(index);
        });
    }
}

void ClockFace::addDateAndButtons(QWidget &window)
{
    txtDate = new TextBox(TextBox::Overlong::IsSqueezed, &window);
    txtDate->setObjectName(u"txtDate"_s);
    txtDate->setAccessibleName(u"Date"_s);
    QPalette colours = txtDate->palette();
    colours.setColor(QPalette::Base, storedColour(Blue));
    colours.setColor(QPalette::Text, storedColour(Cyan));
    txtDate->setPalette(colours);
    txtDate->setFont(windowFont(DatePoints, true));
    place(*txtDate, DatePlacement);

    for (const Caption &caption : CommandCaptions) {
        auto *button = new CommandButton(QString::fromLatin1(caption.text), &window);
        button->setObjectName(indexed("cmdCtrl", caption.index));
        place(*button, caption.placement);
        cmdCtrl.add(caption.index, button);
    }
}

void ClockFace::readOut(const QString &digits)
{
    if (digits == m_readOut)
        return;
    m_readOut = digits;
    pic(0)->setAccessibleName(QString(digits).insert(4, u':').insert(2, u':'));
}

void ClockFace::optEvent_Click(std::int16_t Index)
{
    optEvent(Index)->ForeColor(storedColour(Blue));
    optEvent(Index)->BackColor(storedColour(Yellow));
    optEvent(Index)->FontBold(true);
    optEvent(1 - Index)->ForeColor(storedColour(White));
    optEvent(1 - Index)->BackColor(storedColour(Blue));
    optEvent(1 - Index)->FontBold(false);
}

} // namespace Tavrel
