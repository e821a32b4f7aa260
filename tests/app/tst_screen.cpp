// The windows without a service, at twice the size on a small screen (1920 x
// 900 pixels at a scale of 2 leave 960 x 450): the grid, the editor, and how
// the windows are drawn.
#include "TestSeams.h"
#include "TestTable.h"
#include "frmAbout.h"
#include "frmLogin.h"
#include "frmMain.h"

#include "PictureButton.h"
#include "RegistryStore.h"
#include "basErr.h"
#include "clsUser.h"

#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpression>
#include <QScreen>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>
#include <cmath>
#include <cstdio>

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

// The drawn pixel that stands out most from the window's colour, from x on.
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
    std::unique_ptr<frmMain> m_w;

    // One column of the grid, top to bottom, joined by commas.
    QString column(int c) const
    {
        const QAbstractItemModel *model = m_w->lvDomainUser->model();
        QStringList texts;
        for (int i = 0; i < model->rowCount(); ++i)
            texts << model->index(i, c).data().toString();
        return texts.join(u',');
    }
    void fill(const QString &records, const QString &autoList = QString())
    {
        User().sDomainUserRecords = records;
        ProgramWide::sAutoIPList = autoList;
        m_w->FillDomainUserGrid();
    }
    bool showGrid()
    {
        m_w->ShowFrame(u"Grid"_s);
        m_w->show();
        return QTest::qWaitForWindowExposed(m_w.get());
    }
    void clickRow(int row)
    {
        const QTreeView *lv = m_w->lvDomainUser;
        QTest::mouseClick(lv->viewport(), Qt::LeftButton, {},
                          lv->visualRect(lv->model()->index(row, 1)).center());
    }
    void clickHeader(int section)
    {
        const QHeaderView *h = m_w->lvDomainUser->header();
        QTest::mouseClick(h->viewport(), Qt::LeftButton, {},
                          QPoint(h->sectionViewportPosition(section) + 5, h->height() / 2));
    }

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        RegistryStore::SetFile(m_dir.filePath(u"settings.ini"_s));
        basErr::SetLogFolder(m_dir.filePath(u"Logs"_s));
        m_light = QApplication::palette();
        QCOMPARE(QGuiApplication::primaryScreen()->devicePixelRatio(), 2.0);
        QCOMPARE(QGuiApplication::primaryScreen()->availableGeometry().height(), 450);
    }
    void init()
    {
        ProgramWide::Reset();
        m_seams.emplace();
        m_w = std::make_unique<frmMain>();
    }
    void cleanup()
    {
        m_w.reset();
        QApplication::setPalette(m_light);
        m_seams.reset();
    }

    void fill_rows()
    {
        // Matched as a substring, whatever the case; blanks in the list do hide one.
        fill(u"Acme;;A;;@;;1~~acme;;CNAME;;Root;;acme;;x~~shop;;A;;www;;3~~café;;A;;w;;4"_s,
             u" ACME ;; a ;;@;;1~~XSHOP;;A;;WWW;;3~~CAFÉ;;A;;W;;4~~"_s);
        QCOMPARE(column(0), u"Acme,acme,shop,café"_s);
        QCOMPARE(column(2), u",Root,www,w"_s);
        QCOMPARE(column(3), u"1,acme,3,4"_s);
        QCOMPARE(column(4), u"No,No,Yes,Yes"_s);
        fill(User().sDomainUserRecords, u"acme;;A;;@;;1~~"_s);
        QCOMPARE(column(4), u"Yes,No,No,No"_s);
    }

    void fill_stopsAtBadPiece()
    {
        const QString records = u"a;;A;;w;;1~~a;;A~~a;;A;;x;;2"_s;
        fill(records);
        QCOMPARE(column(2), u"w"_s);
        QCOMPARE(m_seams->messages.size(), 1);
        QVERIFY(m_seams->messages[0].text.startsWith(u"frmMain.FillDomainUserGrid()\r"_s));
        // The same data again is no change: no second report.
        fill(records);
        QCOMPARE(m_seams->messages.size(), 1);
        // A trailing separator shows every record, then reports the empty piece.
        fill(u"a;;A;;w;;1~~"_s);
        QCOMPARE(column(2), u"w"_s);
        QCOMPARE(m_seams->messages.size(), 2);
    }

    // Every click flips the order, also on another column; cells sort as text.
    void sort_flip_data()
    {
        TextTable({"clicks", "order"},
                  {{"one click: descending", "3|10.0.0.9,10.0.0.10,10.0.0.1"},
                   {"two clicks: ascending", "3,3|10.0.0.1,10.0.0.10,10.0.0.9"},
                   {"other column after descending", "3,2|a,b,c"}});
    }
    void sort_flip()
    {
        QFETCH(QString, clicks);
        QVERIFY(showGrid());
        fill(u"t;;A;;b;;10.0.0.10~~t;;A;;c;;10.0.0.9~~t;;A;;a;;10.0.0.1"_s);
        for (const QString &c : clicks.split(u','))
            clickHeader(c.toInt());
        const int sorted = clicks.back().digitValue();
        QTEST(column(sorted), "order");
        // Rows added later keep the order.
        fill(User().sDomainUserRecords + u"~~t;;A;;d;;10.0.0.2"_s);
        const QStringList after = column(sorted).split(u',');
        QVERIFY2(m_w->SortDescending() ? std::is_sorted(after.rbegin(), after.rend())
                                       : std::is_sorted(after.begin(), after.end()),
                 qPrintable(after.join(u',')));
    }

    // An empty message: accepted; an empty name or address after: unchanged.
    void editor_validation_data()
    {
        TextTable(
            {"domain", "type", "name", "address", "port", "message", "nameAfter", "addressAfter"},
            {
                {"no domain", " |A|x|1.2.3.4||Domain must be filled in||"},
                {"dotted name first", "d|A|a.b|||Invalid Name.  No Dots allowed.||"},
                {"no address", "d|A|x|  ||IP Address must be filled in||"},
                {"three pieces", "d|A|x|1.2.3||Invalid IP address||"},
                {"five pieces", "d|A|root|1.2.3.4.5||Invalid IP address|@|"},
                {"256", "d|A|x|1.2.3.256||Invalid IP address||"},
                {"empty piece", "d|A|x|1.2..4||Invalid IP address||"},
                {"zeros", "d|A|ROOT|0.0.0.0|||@|"},
                {"max", "d|A|x|255.255.255.255||||"},
                {"CNAME unchecked", "d|CNAME|www|host.test||||"},
                {"relay scheme",
                 "d|Port Relay|r|ftp://h||Invalid Relay Address.  Must Begin with HTTP://||"},
                {"relay slash", "d|Port Relay|r|http:///x||Invalid Relay Address.||"},
                {"relay short", "d|PORT RELAY|Root|http://a||Invalid Relay Address.||"},
                {"relay backslashes", "d|Port Relay|r|HTTP:\\\\host\\path||||HTTP://host/path"},
                {"port text", "d|Port Relay|r|http://hh|8o|Port must be numeric.||"},
                {"port 10000",
                 "d|Port Relay|r|http://hh|10000|Invalid Port. Must be between 0 and 9999||"},
                {"port -1",
                 "d|Port Relay|r|http://hh|-1|Invalid Port. Must be between 0 and 9999||"},
                {"colon",
                 "d|Port Relay|r|http://host:8080||Invalid Relay Address. No colons allowed.||"},
                {"port 9999", "d|Port Relay|r|http://host/p|9999|||"},
            });
    }
    void editor_validation()
    {
        QFETCH(QString, domain);
        QFETCH(QString, type);
        QFETCH(QString, name);
        QFETCH(QString, address);
        QFETCH(QString, port);
        QFETCH(QString, message);
        QFETCH(QString, nameAfter);
        QFETCH(QString, addressAfter);
        m_w->cboDomain->setCurrentText(domain);
        m_w->cboRecordType->setCurrentText(type);
        m_w->txtCName->setText(name);
        m_w->txtServerIP->setText(address);
        m_w->txtPort->setText(port);
        QCOMPARE(m_w->ValidateRecord(), message.isEmpty());
        QCOMPARE(m_seams->texts(), message.isEmpty() ? QStringList() : QStringList{message});
        QVERIFY(m_seams->messages.isEmpty() || m_seams->messages[0].title == "Veltrio"_L1);
        QCOMPARE(m_w->txtCName->text(), nameAfter.isEmpty() ? name : nameAfter);
        QCOMPARE(m_w->txtServerIP->text(), addressAfter.isEmpty() ? address : addressAfter);
    }

    // Nothing of the grid's panel is cut off at the bottom.
    void panelsFitTheScreen_data()
    {
        QTest::addColumn<QString>("panel");
        for (const char *panel : {"Grid", "Domain", "Veltrio", "AdvancedDomain", "AdvancedFree"})
            QTest::newRow(panel) << QString::fromLatin1(panel);
    }
    void panelsFitTheScreen()
    {
        QFETCH(QString, panel);
        frmMain &w = *m_w;
        w.ShowFrame(u"Grid"_s);
        w.ShowFrame(panel);
        w.show();
        QVERIFY(QTest::qWaitForWindowExposed(&w));
        const QRect screen = w.screen()->availableGeometry();
        QVERIFY2(screen.contains(w.frameGeometry()),
                 qPrintable(u"%1x%2"_s.arg(w.frameGeometry().width()).arg(w.height())));
        if (panel != "Grid"_L1)
            return;
        for (const QWidget *control :
             std::initializer_list<const QWidget *>{w.lvDomainUser, w.cmdAddGrid, w.frameGrid})
            QVERIFY2(w.rect().contains(QRect(control->mapTo(&w, QPoint(0, 0)), control->size())),
                     qPrintable(control->objectName()));
    }

    // The windows' own colours exactly on a light palette; on a dark one, set
    // while they are up, a lighter tone of the same hue at 4.5:1 or more.
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
        frmMain &main = *m_w;
        frmLogin login;
        if (control.startsWith("status"_L1))
            main.SetStatus(control.mid(7), control.endsWith("Connected"_L1)
                                               ? StatusColour::Connected
                                               : StatusColour::NotConnected);
        if (dark) {
            // A dark desktop's palette, heard of as the desktop's would be.
            QPalette palette(QColor(49, 54, 59));
            palette.setColor(QPalette::WindowText, QColor(239, 240, 241));
            QApplication::setPalette(palette);
            QCoreApplication::processEvents();
        }
        QWidget *widget = control.startsWith("status"_L1) ? main.lblStatus
                          : control == "wordmark"_L1      ? main.Image1
                          : control == "register link"_L1 ? login.llblRegister
                                                          : login.lblExpire;
        // The wordmark stands beside the mark, a disc as high as the logo.
        const QColor drawn = boldestPixel(widget, widget == main.Image1 ? widget->height() + 4 : 0);
        const double contrast = ratio(drawn, widget->palette().color(QPalette::Window));
        if (!dark) {
            QCOMPARE(drawn, colour);
            return;
        }
        QVERIFY2(contrast >= 4.5, qPrintable(drawn.name()));
        QVERIFY(drawn.lightness() > colour.lightness());
        QVERIFY2(qAbs(drawn.hslHue() - colour.hslHue()) <= 3, qPrintable(drawn.name()));
    }

    // Captions fit their buttons and name them to a screen reader; help
    // pictures are drawn and named "Help".
    void pictureButtonsAndHelp()
    {
        frmLogin login;
        frmAbout about;
        int buttons = 0;
        for (const QWidget *window :
             std::initializer_list<const QWidget *>{m_w.get(), &login, &about}) {
            for (PictureButton *button : window->findChildren<PictureButton *>()) {
                const QFontMetrics metrics = button->label()->fontMetrics();
                const int room =
                    button->width() - metrics.horizontalAdvance(button->label()->text());
                QVERIFY2(room >= 2 * metrics.averageCharWidth(), qPrintable(button->objectName()));
                QAccessibleInterface *a = QAccessible::queryAccessibleInterface(button);
                QVERIFY(a);
                QCOMPARE(a->text(QAccessible::Name), button->label()->text().remove(u'&'));
                ++buttons;
            }
            for (QLabel *help : window->findChildren<QLabel *>(QRegularExpression(u"^imgHelp"_s))) {
                QVERIFY(!help->pixmap().isNull());
                QAccessibleInterface *a = QAccessible::queryAccessibleInterface(help);
                QCOMPARE(a->text(QAccessible::Name), u"Help"_s);
            }
        }
        QVERIFY(buttons >= 10);
    }
};

int main(int argc, char *argv[])
{
    QTemporaryDir dir;
    QFile file(dir.filePath(u"screen.json"_s));
    if (!file.open(QIODevice::WriteOnly)) {
        fprintf(stderr, "tst_screen: cannot write %s: %s\n", qPrintable(file.fileName()),
                qPrintable(file.errorString()));
        return 2;
    }
    file.write(R"({"screens": [{"name": "small", "x": 0, "y": 0, "width": 1920, "height": 900,
                   "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})");
    file.close();
    // The platform's arguments are separated by colons, so the file is named
    // relative to the working folder: a Windows path's drive has one.
    QDir::setCurrent(dir.path());
    qputenv("QT_QPA_PLATFORM", "offscreen:configfile=screen.json");
    qputenv("QT_SCALE_FACTOR", "2");
    QApplication app(argc, argv);
    TestScreen test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_screen.moc"
