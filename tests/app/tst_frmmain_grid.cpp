// The main window's record grid and editor without a service: filling,
// selection, sorting and the editor's checks.
#include "TestSeams.h"
#include "frmMain.h"

#include "PictureButton.h"
#include "frmLogin.h"

#include "RegistryStore.h"
#include "basErr.h"
#include "clsUser.h"

#include <QAccessible>
#include <QCheckBox>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>

using namespace Qt::StringLiterals;

class TestFrmMainGrid : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::optional<TestSeams> m_seams;
    std::unique_ptr<frmMain> m_w;

    // Text columns, one row per tag and "field|field|...".
    static void table(std::initializer_list<const char *> columns,
                      std::initializer_list<std::pair<const char *, const char *>> rows)
    {
        for (const char *column : columns)
            QTest::addColumn<QString>(column);
        for (const auto &[tag, fields] : rows) {
            QTestData &row = QTest::newRow(tag);
            for (const QString &field : QString::fromUtf8(fields).split(u'|'))
                row << field;
        }
    }

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
        m_seams.reset();
    }

    // Refilled after a first fill of "a;;A;;w;;1~~a;;A;;f;;2" with "A;;A;;W;;1~~".
    void fill_change_data()
    {
        table({"records", "autoList", "caption", "counter", "autoCells"},
              {{"same list", "a;;A;;w;;1~~a;;A;;f;;2|A;;A;;W;;1~~|Last IP Check:|0|Yes,No"},
               {"case only", "A;;A;;W;;1~~A;;A;;F;;2|a;;a;;w;;1~~|Last IP Check:|0|Yes,No"},
               {"auto list only", "a;;A;;w;;1~~a;;A;;f;;2|a;;A;;f;;2~~|*Last IP Check:|1|No,Yes"},
               {"records", "a;;A;;w;;9|A;;A;;W;;1~~|*Last IP Check:|1|No"}});
    }
    void fill_change()
    {
        QFETCH(QString, records);
        QFETCH(QString, autoList);
        fill(u"a;;A;;w;;1~~a;;A;;f;;2"_s, u"A;;A;;W;;1~~"_s);
        QCOMPARE(m_w->Label20->text(), u"*Last IP Check:"_s);
        QCOMPARE(m_w->lblTimesIPChanged->text(), u"0"_s);
        fill(records, autoList);
        QTEST(m_w->Label20->text(), "caption");
        QTEST(m_w->lblTimesIPChanged->text(), "counter");
        QTEST(column(4), "autoCells");
    }

    void fill_rows()
    {
        // The auto-IP list matches a record's key as a substring, whatever the
        // case; blanks inside the list do hide a record.
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

    void fill_reselects()
    {
        QVERIFY(showGrid());
        fill(u"a.test;;A;;www;;10.0.0.1~~a.test;;A;;@;;10.0.0.2"_s);
        clickRow(0);
        fill(u"b.test;;A;;x;;10.0.0.5~~A.TEST;;A;;WWW;;10.0.0.1"_s);
        QVERIFY(m_w->lvDomainUser->selectionModel()->isRowSelected(1, {}));
        fill(u"b.test;;A;;x;;10.0.0.5"_s);
        QVERIFY(!m_w->lvDomainUser->selectionModel()->hasSelection());
        // A record named "@" is remembered with an empty name and so is not
        // selected again.
        fill(u"a.test;;A;;www;;10.0.0.1~~a.test;;A;;@;;10.0.0.2"_s);
        clickRow(1);
        fill(u"a.test;;A;;@;;10.0.0.2"_s);
        QVERIFY(!m_w->lvDomainUser->selectionModel()->hasSelection());
    }

    // Every click flips the order, also on another column; cells sort as text.
    void sort_flip_data()
    {
        table({"clicks", "order"}, {{"one click: descending", "3|10.0.0.9,10.0.0.10,10.0.0.1"},
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
        table({"domain", "type", "name", "address", "port", "message", "nameAfter", "addressAfter"},
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

    void editor_openAndType()
    {
        m_w->EditGrid();
        QCOMPARE(m_seams->texts(), QStringList{u"Please select a row"_s});
        User().sRecordTypeList = u"A,CNAME"_s;
        User().sUserLevel = u"1"_s;
        m_w->cmdAddGrid_Click();
        QCOMPARE(m_w->cboRecordType->count(), 2);
        User().sUserLevel = u"5"_s;
        m_w->cmdAddGrid_Click();
        QCOMPARE(m_w->cboRecordType->itemText(2), u"Port Relay"_s);
        m_w->cboRecordType->setCurrentIndex(2);
        m_w->cboRecordType_Click();
        QCOMPARE(m_w->txtServerIP->text(), u"http://"_s);
        QVERIFY(!m_w->txtPort->isHidden());
        m_w->lblIPAddress->setText(u"203.0.113.5"_s);
        m_w->chkDomainAutoIP->click();
        QCOMPARE(m_w->txtServerIP->text(), u"http://203.0.113.5"_s);
    }

    // A screen reader meets every picture button by its caption and every
    // help picture as "Help", on both windows.
    void pictureButtonsAndHelp_haveAccessibleNames()
    {
        frmMain main;
        frmLogin login;
        int buttons = 0;
        for (const QWidget *window : std::initializer_list<const QWidget *>{&main, &login}) {
            for (PictureButton *button : window->findChildren<PictureButton *>()) {
                QAccessibleInterface *a = QAccessible::queryAccessibleInterface(button);
                QVERIFY(a);
                QCOMPARE(a->text(QAccessible::Name), button->label()->text().remove(u'&'));
                QVERIFY(!a->text(QAccessible::Description).isEmpty());
                ++buttons;
            }
            for (QWidget *help :
                 window->findChildren<QWidget *>(QRegularExpression(QStringLiteral("^imgHelp")))) {
                QAccessibleInterface *a = QAccessible::queryAccessibleInterface(help);
                QCOMPARE(a->text(QAccessible::Name), QStringLiteral("Help"));
                QVERIFY(!a->text(QAccessible::Description).isEmpty());
            }
        }
        QVERIFY(buttons >= 10);
    }
};

QTEST_MAIN(TestFrmMainGrid)
#include "tst_frmmain_grid.moc"
