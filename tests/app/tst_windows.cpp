#include "app/frmMain.h"
#include "dialogs/frmOptions.h"
#include "tests/support/ScriptedHost.h"
#include "tests/support/Table.h"
#include "tests/support/TemporaryHome.h"

#include <QLabel>
#include <QTabWidget>

/// The visible controls of a window.
static QWidgetList controlsOf(const QWidget &window)
{
    QWidgetList controls;
    for (QWidget *child : window.findChildren<QWidget *>()) {
        const QString name = child->objectName();
        if (child->window() == &window && child->isVisible() && !name.isEmpty() &&
            !name.startsWith("qt_"))
            controls += child;
    }
    return controls;
}

/// Neighbours may share a line of pixels, and images lie on top of each other.
static bool overlap(const QWidget *one, const QWidget *other)
{
    const QRect shared = one->geometry() & other->geometry();
    return one != other && one->parent() == other->parent() && shared.width() > 1 &&
           shared.height() > 1 && !dynamic_cast<const Image *>(one);
}

static bool standsBeside(const QWidget *label, const QWidget *buddy)
{
    constexpr int WidestGap = 20;
    const int gap = buddy ? buddy->x() - label->geometry().right() : -1;
    return gap >= 0 && gap <= WidestGap && buddy->y() == label->y();
}

/// All windows of the program, on the screen.
class TestWindows : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(QFile::link("/nowhere", home.path("Tavrel/COM1")));
        clock = std::make_unique<frmMain>(host, environment);
        clock->Show();
        punch.Show();
        options = std::make_unique<frmOptions>(host, *clock);
        options->show();
    }

    void frame_data()
    {
        Table<QString, bool, bool> row("title", "hasIcon", "canBeMinimised");
        row("frmMain", "Tavrel v1.0R2", true, true);
        row("frmPunchInformation", "Punch Information", true, false);
        row("frmOptions", "Options", false, false);
    }
    void frame()
    {
        const QWidget *window = named(QTest::currentDataTag());
        QTEST(window->windowTitle(), "title");
        const QImage icon = window->windowIcon().pixmap(32).toImage();
        QVERIFY(!icon.isNull());
        QTEST(icon.pixelColor(icon.rect().center()).alpha() > 0, "hasIcon");
        const Qt::WindowFlags buttons = window->windowFlags();
        QTEST(buttons.testFlag(Qt::WindowMinimizeButtonHint), "canBeMinimised");
        QVERIFY(buttons.testFlag(Qt::WindowCloseButtonHint));
        QVERIFY(!buttons.testFlag(Qt::WindowMaximizeButtonHint));
        QCOMPARE(window->minimumSize(), window->maximumSize());
    }

    void places_data()
    {
        Table<QString, int> row("window", "tab");
        row("frmMain", 0);
        row("frmPunchInformation", 0);
        for (const int tab : {0, 1, 2})
            row("frmOptions", tab);
    }
    void places()
    {
        QFETCH(QString, window);
        QFETCH(int, tab);
        options->findChild<QTabWidget *>("SSTab1")->setCurrentIndex(tab);
        const QWidgetList controls = controlsOf(*named(window));
        QVERIFY(!controls.isEmpty());
        for (const QWidget *control : controls) {
            const QByteArray name = control->objectName().toUtf8();
            QVERIFY2(control->parentWidget()->rect().contains(control->geometry()), name);
            for (const QWidget *other : controls)
                QVERIFY2(!overlap(control, other), name);
            const auto *label = qobject_cast<const QLabel *>(control);
            QVERIFY2(!label || label->text().isEmpty() || standsBeside(label, label->buddy()),
                     name);
        }
    }

    void long_texts_are_squeezed()
    {
        Label label("Switch to Clock Out after:", nullptr);
        label.resize(label.fontMetrics().horizontalAdvance(label.text()) * 2 / 3, 17);
        label.grab(); // which resizes it
        QVERIFY(label.fontMetrics().horizontalAdvance(label.text()) <= label.width());
        punch.txtDateTime->Text("Wednesday, 23 September 2026 10:58:58");
        QVERIFY(punch.txtDateTime->fontMetrics().horizontalAdvance(punch.txtDateTime->text()) <=
                punch.txtDateTime->width() - 7);
    }

    /// The boxes of Punch Information have its grey background; a dark line above a light one
    /// separates them from the button.
    void looks()
    {
        const QImage image = punch.grab().toImage();
        const QRect box = punch.txtBadgeNumber->geometry();
        const QPalette palette = punch.palette();
        const std::pair<QPoint, QPalette::ColorRole> places[] = {
            {box.center(), QPalette::Window}, {{20, 102}, QPalette::Window},
            {{20, 103}, QPalette::Dark},      {{20, 104}, QPalette::Light},
            {{20, 105}, QPalette::Window},    {{248, 104}, QPalette::Window},
        };
        for (const auto &[place, role] : places)
            QCOMPARE(image.pixelColor(place).rgb(), palette.color(role).rgb());
    }

private:
    static QWidget *named(const QString &name)
    {
        const QWidgetList all = QApplication::topLevelWidgets();
        return *std::ranges::find(all, name, &QWidget::objectName);
    }

    TemporaryHome home;
    ScriptedHost host;
    DataEnvironment environment;
    std::unique_ptr<frmMain> clock;
    std::unique_ptr<frmOptions> options;
    frmPunchInformation punch;
};

QTEST_MAIN(TestWindows)
#include "tst_windows.moc"
