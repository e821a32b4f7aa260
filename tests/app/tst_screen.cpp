// The windows as they are drawn: their own colours against a light and a
// dark palette, captions that fit their buttons, the status labels that
// follow a wider window, and the grid's cells cut short.
#include "TestSeams.h"
#include "frmAbout.h"
#include "frmLogin.h"
#include "frmMain.h"

#include "PictureButton.h"
#include "RegistryStore.h"
#include "Twips.h"
#include "basErr.h"
#include "clsUser.h"

#include <QApplication>
#include <QHeaderView>
#include <QHelpEvent>
#include <QLabel>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QToolTip>
#include <QTreeView>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

// The contrast ratio of two colours, from their relative luminance.
double ratio(const QColor &a, const QColor &b)
{
    const auto luminance = [](const QColor &c) {
        const auto linear = [](double v) {
            return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(c.redF()) + 0.7152 * linear(c.greenF()) + 0.0722 * linear(c.blueF());
    };
    const double la = luminance(a), lb = luminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

// A dark desktop's palette: light text on a dark grey window.
QPalette darkPalette()
{
    QPalette p(QColor(49, 54, 59));
    p.setColor(QPalette::WindowText, QColor(239, 240, 241));
    return p;
}

// The drawn pixel that stands out most from the background the widget is
// drawn on (the window's colour), left of x = from ignored.
QColor boldestPixel(QWidget *widget, int from = 0)
{
    const QColor background = widget->palette().color(QPalette::Window);
    QImage image(widget->size(), QImage::Format_RGB32);
    image.fill(background);
    widget->render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    QColor boldest = background;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = from; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            if (ratio(pixel, background) > ratio(boldest, background))
                boldest = pixel;
        }
    }
    return boldest;
}

} // namespace

class TestScreen : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::optional<TestSeams> m_seams;
    QPalette m_light;

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        RegistryStore::SetFile(m_dir.filePath(u"settings.ini"_s));
        basErr::SetLogFolder(m_dir.filePath(u"Logs"_s));
        m_light = QApplication::palette();
    }
    void init()
    {
        ProgramWide::Reset();
        m_seams.emplace();
    }
    void cleanup()
    {
        QApplication::setPalette(m_light);
        m_seams.reset();
    }

    // The windows' own colours as drawn: exactly so on a light palette; on a
    // dark one (set while the windows are up, as a desktop switches) a
    // lighter tone of the same hue that stands out by 4.5:1 or more.
    void contrast_data()
    {
        QTest::addColumn<QString>("control");
        QTest::addColumn<QColor>("colour");
        QTest::addColumn<bool>("dark");
        const std::pair<const char *, QColor> controls[] = {
            {"status Connected", QColor(0, 128, 0)},
            {"status Not Connected with Server", QColor(192, 0, 0)},
            {"wordmark", QColor(0x12, 0x3c, 0x70)},
            {"register link", QColor(0x1f, 0x5f, 0xa8)},
            {"expiry notice", QColor(0xa0, 0x18, 0x18)},
            {"terms link", QColor(0x1f, 0x5f, 0xa8)},
        };
        for (const auto &[control, colour] : controls) {
            for (const bool dark : {false, true})
                QTest::addRow("%s, %s", control, dark ? "dark" : "light")
                    << QString::fromLatin1(control) << colour << dark;
        }
    }
    void contrast()
    {
        QFETCH(QString, control);
        QFETCH(QColor, colour);
        QFETCH(bool, dark);
        frmMain main;
        frmLogin login;
        frmAbout about;
        if (control.startsWith("status"_L1))
            main.SetStatus(control.mid(7), control.endsWith("Connected"_L1)
                                               ? StatusColour::Connected
                                               : StatusColour::NotConnected);
        if (dark) {
            // The windows hear of it as they would of the desktop's.
            QApplication::setPalette(darkPalette());
            QCoreApplication::processEvents();
        }
        QWidget *widget = control.startsWith("status"_L1) ? main.lblStatus
                          : control == "wordmark"_L1      ? main.Image1
                          : control == "register link"_L1 ? login.llblRegister
                          : control == "expiry notice"_L1 ? login.lblExpire
                                                          : about.Label1;
        // The wordmark stands beside the mark, a disc as high as the logo.
        const QColor drawn = boldestPixel(widget, widget == main.Image1 ? widget->height() + 4 : 0);
        const QColor window = widget->palette().color(QPalette::Window);
        const double contrast = ratio(drawn, window);
        qInfo("%s: %s on %s, %.2f:1", QTest::currentDataTag(), qPrintable(drawn.name()),
              qPrintable(window.name()), contrast);
        if (!dark) {
            QCOMPARE(drawn, colour);
            return;
        }
        QVERIFY2(contrast >= 4.5, qPrintable(drawn.name()));
        QVERIFY(drawn.lightness() > colour.lightness());
        QVERIFY2(qAbs(drawn.hslHue() - colour.hslHue()) <= 3, qPrintable(drawn.name()));
    }

    // Every caption has room on both sides of its picture button.
    void captionsFitTheirButtons()
    {
        frmMain main;
        frmLogin login;
        frmAbout about;
        for (const QWidget *window :
             std::initializer_list<const QWidget *>{&main, &login, &about}) {
            for (const PictureButton *button : window->findChildren<PictureButton *>()) {
                const QFontMetrics metrics = button->label()->fontMetrics();
                const int room =
                    button->width() - metrics.horizontalAdvance(button->label()->text());
                QVERIFY2(room >= 2 * metrics.averageCharWidth(), qPrintable(button->objectName()));
            }
        }
    }

    // A wider window moves every label of the status block right, by as
    // much as it grew: the block stays aligned.
    void widerWindow_movesEveryStatusLabel()
    {
        frmMain w;
        w.ShowFrame(u"Grid"_s);
        w.show();
        QVERIFY(QTest::qWaitForWindowExposed(&w));
        QHash<QLabel *, int> before;
        const QList<QLabel *> labels =
            w.frmIPStatus->findChildren<QLabel *>(QString(), Qt::FindDirectChildrenOnly);
        QCOMPARE(labels.size(), 12);
        for (QLabel *label : labels)
            before.insert(label, label->x());
        w.resize(w.width() + 100, w.height());
        for (QLabel *label : labels)
            QVERIFY2(qAbs(label->x() - before.value(label) - 100) <= 1,
                     qPrintable(label->objectName()));
    }

    // A cell cut short shows its whole text as a tool tip; one shown whole
    // shows none.
    void grid_cutShortCellHasToolTip_data()
    {
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("tip");
        QTest::newRow("relay URL") << 3 << u"http://198.51.100.50:8080/a/long/relay/path"_s;
        QTest::newRow("short name") << 2 << QString();
    }
    void grid_cutShortCellHasToolTip()
    {
        QFETCH(int, column);
        QFETCH(QString, tip);
        frmMain w;
        w.ShowFrame(u"Grid"_s);
        w.show();
        QVERIFY(QTest::qWaitForWindowExposed(&w));
        User().sDomainUserRecords =
            u"acme-shop.test;;PORT RELAY;;shop;;http://198.51.100.50:8080/a/long/relay/path"_s;
        w.FillDomainUserGrid();
        QTreeView *grid = w.lvDomainUser;
        const QRect cell = grid->visualRect(grid->model()->index(0, column));
        QHelpEvent help(QEvent::ToolTip, cell.center(),
                        grid->viewport()->mapToGlobal(cell.center()));
        QApplication::sendEvent(grid->viewport(), &help);
        QCOMPARE(QToolTip::isVisible() ? QToolTip::text() : QString(), tip);
        QToolTip::hideText();
    }
};

QTEST_MAIN(TestScreen)
#include "tst_screen.moc"
