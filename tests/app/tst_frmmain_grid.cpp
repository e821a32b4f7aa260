// The main window's record grid and editor without a service: filling,
// selection, sorting and the editor's checks.
#include "TestSeams.h"
#include "frmMain.h"

#include "RegistryStore.h"
#include "basErr.h"
#include "clsUser.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>

static QStringList cells(std::initializer_list<const char *> texts)
{
    QStringList list;
    for (const char *text : texts)
        list << QString::fromUtf8(text);
    return list;
}

class TestFrmMainGrid : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    static QStringList column(const frmMain &w, int c)
    {
        const QAbstractItemModel *model = w.lvDomainUser->model();
        QStringList texts;
        for (int i = 0; i < model->rowCount(); ++i)
            texts << model->index(i, c).data().toString();
        return texts;
    }

    static void fill(frmMain &w, const QString &records, const QString &autoList = QString())
    {
        User().sDomainUserRecords = records;
        Program::sAutoIPList = autoList;
        w.FillDomainUserGrid();
    }

    static void clickRow(frmMain &w, int row)
    {
        QTreeView *lv = w.lvDomainUser;
        const QRect r = lv->visualRect(lv->model()->index(row, 1));
        QTest::mouseClick(lv->viewport(), Qt::LeftButton, {}, r.center());
    }

    static void clickHeader(frmMain &w, int section)
    {
        QHeaderView *h = w.lvDomainUser->header();
        QTest::mouseClick(h->viewport(), Qt::LeftButton, {},
                          QPoint(h->sectionViewportPosition(section) + 5, h->height() / 2));
    }

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        RegistryStore::SetFile(m_dir.filePath(QStringLiteral("settings.ini")));
        basErr::SetLogFolder(m_dir.filePath(QStringLiteral("Logs")));
    }
    void init() { Program::Reset(); }

    void fill_changeTest_data()
    {
        QTest::addColumn<QString>("records2");
        QTest::addColumn<QString>("auto2");
        QTest::addColumn<QString>("caption");
        QTest::addColumn<QString>("counter");
        QTest::addColumn<QStringList>("autoCells");
        const QString first = QStringLiteral("a.test;;A;;www;;10.0.0.1~~a.test;;A;;ftp;;10.0.0.2");
        const QString firstAuto = QStringLiteral("A.TEST;;A;;WWW;;10.0.0.1~~");
        QTest::newRow("same list") << first << firstAuto << "Last IP Check:"
                                   << "0" << cells({"Yes", "No"});
        QTest::newRow("case only") << first.toUpper() << firstAuto.toLower() << "Last IP Check:"
                                   << "0" << cells({"Yes", "No"});
        QTest::newRow("auto list only")
            << first << QStringLiteral("a.test;;A;;ftp;;10.0.0.2~~") << "*Last IP Check:"
            << "1" << cells({"No", "Yes"});
        QTest::newRow("records") << QStringLiteral("a.test;;A;;www;;10.0.0.9") << firstAuto
                                 << "*Last IP Check:"
                                 << "1" << cells({"No"});
    }
    void fill_changeTest()
    {
        QFETCH(QString, records2);
        QFETCH(QString, auto2);
        TestSeams seams;
        frmMain w;
        fill(w, QStringLiteral("a.test;;A;;www;;10.0.0.1~~a.test;;A;;ftp;;10.0.0.2"),
             QStringLiteral("A.TEST;;A;;WWW;;10.0.0.1~~"));
        QCOMPARE(w.Label20->text(), QStringLiteral("*Last IP Check:"));
        QCOMPARE(w.lblTimesIPChanged->text(), QStringLiteral("0"));
        fill(w, records2, auto2);
        QTEST(w.Label20->text(), "caption");
        QTEST(w.lblTimesIPChanged->text(), "counter");
        QTEST(column(w, 4), "autoCells");
        QVERIFY(seams.messages.isEmpty());
    }

    void fill_rows()
    {
        TestSeams seams;
        frmMain w;
        // Blanks and case around the fields do not hide an automatic record,
        // and a key counts wherever it stands in the list.
        fill(w,
             QStringLiteral("Acme.test;;A;;@;;10.0.0.1~~acme.test;;CNAME;;Root;;acme.test;;x~~"
                            "shop.test;;A;;www;;10.0.0.3"),
             QStringLiteral(" ACME.TEST ;; a ;;@;;10.0.0.1~~XSHOP.TEST;;A;;WWW;;10.0.0.3~~"));
        QCOMPARE(column(w, 0), cells({"Acme.test", "acme.test", "shop.test"}));
        QCOMPARE(column(w, 2), cells({"", "Root", "www"}));
        QCOMPARE(column(w, 3), cells({"10.0.0.1", "acme.test", "10.0.0.3"}));
        QCOMPARE(column(w, 4), cells({"No", "No", "Yes"}));
        fill(w, User().sDomainUserRecords, QStringLiteral("acme.test;;A;;@;;10.0.0.1~~"));
        QCOMPARE(column(w, 4), cells({"Yes", "No", "No"}));
        QCOMPARE(w.lvDomainUser->model()->index(2, 0).data(Qt::UserRole).toString(),
                 QStringLiteral("Row2"));
    }

    void fill_stopsAtBadPiece()
    {
        TestSeams seams;
        frmMain w;
        const QString records =
            QStringLiteral("a.test;;A;;www;;10.0.0.1~~a.test;;A~~a.test;;A;;x;;1.1.1.1");
        fill(w, records);
        QCOMPARE(w.lvDomainUser->model()->rowCount(), 1);
        QCOMPARE(seams.messages.size(), 1);
        QVERIFY(
            seams.messages[0].text.startsWith(QStringLiteral("frmMain.FillDomainUserGrid()\r")));
        QCOMPARE(seams.messages[0].title, QStringLiteral("Error"));
        // The same data again is no change: no second report.
        fill(w, records);
        QCOMPARE(seams.messages.size(), 1);
        QCOMPARE(w.Label20->text(), QStringLiteral("Last IP Check:"));
        // A trailing separator shows every record, then reports the empty piece.
        fill(w, QStringLiteral("a.test;;A;;www;;10.0.0.1~~"));
        QCOMPARE(w.lvDomainUser->model()->rowCount(), 1);
        QCOMPARE(seams.messages.size(), 2);
    }

    void fill_reselects()
    {
        TestSeams seams;
        frmMain w;
        w.ShowFrame(QStringLiteral("Grid"));
        w.show();
        QVERIFY(QTest::qWaitForWindowExposed(&w));
        fill(w, QStringLiteral("a.test;;A;;www;;10.0.0.1~~a.test;;A;;@;;10.0.0.2"));
        clickRow(w, 0);
        QCOMPARE(w.sSelectedRecord, QStringLiteral("a.test;;A;;www;;10.0.0.1"));
        fill(w, QStringLiteral("b.test;;A;;x;;10.0.0.5~~A.TEST;;A;;WWW;;10.0.0.1"));
        QVERIFY(w.lvDomainUser->selectionModel()->isRowSelected(1, {}));
        fill(w, QStringLiteral("b.test;;A;;x;;10.0.0.5"));
        QVERIFY(!w.lvDomainUser->selectionModel()->hasSelection());
        // A record named "@" is remembered with an empty name and so is not
        // selected again.
        fill(w, QStringLiteral("a.test;;A;;www;;10.0.0.1~~a.test;;A;;@;;10.0.0.2"));
        clickRow(w, 1);
        QCOMPARE(w.sSelectedRecord, QStringLiteral("a.test;;A;;;;10.0.0.2"));
        fill(w, QStringLiteral("a.test;;A;;@;;10.0.0.2"));
        QVERIFY(!w.lvDomainUser->selectionModel()->hasSelection());
    }

    void sort_flip_data()
    {
        QTest::addColumn<QList<int>>("clicks");
        QTest::addColumn<int>("column");
        QTest::addColumn<QStringList>("order");
        QTest::newRow("one click: descending")
            << QList<int>{3} << 3 << cells({"10.0.0.9", "10.0.0.10", "10.0.0.1"});
        QTest::newRow("two clicks: ascending as text")
            << QList<int>{3, 3} << 3 << cells({"10.0.0.1", "10.0.0.10", "10.0.0.9"});
        QTest::newRow("other column after descending")
            << QList<int>{3, 2} << 2 << cells({"a", "b", "c"});
        QTest::newRow("three clicks") << QList<int>{2, 3, 2} << 2 << cells({"c", "b", "a"});
    }
    void sort_flip()
    {
        QFETCH(QList<int>, clicks);
        QFETCH(int, column);
        TestSeams seams;
        frmMain w;
        w.ShowFrame(QStringLiteral("Grid"));
        w.show();
        QVERIFY(QTest::qWaitForWindowExposed(&w));
        fill(w, QStringLiteral("t;;A;;b;;10.0.0.10~~t;;A;;c;;10.0.0.9~~t;;A;;a;;10.0.0.1"));
        for (int c : clicks)
            clickHeader(w, c);
        QCOMPARE(w.SortKey(), column);
        QVERIFY(w.Sorted());
        QTEST(TestFrmMainGrid::column(w, column), "order");
        // Rows added later keep the order.
        fill(w, User().sDomainUserRecords + QStringLiteral("~~t;;A;;d;;10.0.0.2"));
        const QStringList after = TestFrmMainGrid::column(w, column);
        QStringList sorted = after;
        std::sort(sorted.begin(), sorted.end());
        if (w.SortDescending())
            std::reverse(sorted.begin(), sorted.end());
        QCOMPARE(after, sorted);
    }

    void editor_validation_data()
    {
        const char *columns[] = {"domain", "type",    "name",      "address",
                                 "port",   "message", "nameAfter", "addressAfter"};
        for (const char *column : columns)
            QTest::addColumn<QString>(column);
        // domain|type|name|address|port|message (empty: accepted)|name after|address after
        const std::pair<const char *, const char *> rows[] = {
            {"no domain", " |A|x|1.2.3.4||Domain must be filled in|x|1.2.3.4"},
            {"dotted name first", "a.test|A|a.b|||Invalid Name.  No Dots allowed.|a.b|"},
            {"no address", "a.test|A|x|  ||IP Address must be filled in|x|  "},
            {"three pieces", "a.test|A|x|1.2.3||Invalid IP address|x|1.2.3"},
            {"five pieces", "a.test|A|root|1.2.3.4.5||Invalid IP address|@|1.2.3.4.5"},
            {"256", "a.test|A|x|1.2.3.256||Invalid IP address|x|1.2.3.256"},
            {"empty piece", "a.test|A|x|1.2..4||Invalid IP address|x|1.2..4"},
            {"zeros", "a.test|A|ROOT|0.0.0.0|||@|0.0.0.0"},
            {"max", "a.test|A|x|255.255.255.255|||x|255.255.255.255"},
            {"CNAME unchecked", "a.test|CNAME|www|host.test|||www|host.test"},
            {"relay scheme", "a.test|Port Relay|r|ftp://h||Invalid Relay Address.  Must Begin with "
                             "HTTP://|r|ftp://h"},
            {"relay slash", "a.test|Port Relay|r|http:///x||Invalid Relay Address.|r|http:///x"},
            {"relay short",
             "a.test|PORT RELAY|Root|http://a||Invalid Relay Address.|Root|http://a"},
            {"relay backslashes", "a.test|Port Relay|r|HTTP:\\\\host\\path|||r|HTTP://host/path"},
            {"port text", "a.test|Port Relay|r|http://hh|8o|Port must be numeric.|r|http://hh"},
            {"port 10000", "a.test|Port Relay|r|http://hh|10000|"
                           "Invalid Port. Must be between 0 and 9999|r|http://hh"},
            {"port -1", "a.test|Port Relay|r|http://hh|-1|"
                        "Invalid Port. Must be between 0 and 9999|r|http://hh"},
            {"colon", "a.test|Port Relay|r|http://host:8080||"
                      "Invalid Relay Address. No colons allowed.|r|http://host:8080"},
            {"port 9999", "a.test|Port Relay|r|http://host/p|9999||r|http://host/p"},
        };
        for (const auto &[tag, fields] : rows) {
            QTestData &row = QTest::newRow(tag);
            for (const QString &field : QString::fromUtf8(fields).split(u'|'))
                row << field;
        }
    }
    void editor_validation()
    {
        QFETCH(QString, domain);
        QFETCH(QString, type);
        QFETCH(QString, message);
        TestSeams seams;
        frmMain w;
        w.cboDomain->setCurrentText(domain);
        w.cboRecordType->setCurrentText(type);
        QFETCH(QString, name);
        QFETCH(QString, address);
        QFETCH(QString, port);
        w.txtCName->setText(name);
        w.txtServerIP->setText(address);
        w.txtPort->setText(port);
        QCOMPARE(w.ValidateRecord(), message.isEmpty());
        QCOMPARE(seams.texts(), message.isEmpty() ? QStringList() : QStringList{message});
        if (!message.isEmpty())
            QCOMPARE(seams.messages[0].title, QStringLiteral("Veltrio"));
        QTEST(w.txtCName->text(), "nameAfter");
        QTEST(w.txtServerIP->text(), "addressAfter");
    }

    void editor_openAndType()
    {
        TestSeams seams;
        frmMain w;
        w.EditGrid();
        QCOMPARE(seams.texts(), QStringList{QStringLiteral("Please select a row")});
        User().sRecordTypeList = QStringLiteral("A,CNAME");
        User().sUserLevel = QStringLiteral("1");
        w.cmdAddGrid_Click();
        QCOMPARE(w.cboRecordType->count(), 2);
        User().sUserLevel = QStringLiteral("5");
        w.cmdAddGrid_Click();
        QCOMPARE(w.cboRecordType->itemText(2), QStringLiteral("Port Relay"));
        QVERIFY(!w.frameOtherDomain->isHidden());
        w.cboRecordType->setCurrentIndex(2);
        w.cboRecordType_Click();
        QCOMPARE(w.txtServerIP->text(), QStringLiteral("http://"));
        QVERIFY(!w.txtPort->isHidden());
        w.lblIPAddress->setText(QStringLiteral("203.0.113.5"));
        w.chkDomainAutoIP->click();
        QCOMPARE(w.txtServerIP->text(), QStringLiteral("http://203.0.113.5"));
    }
};

QTEST_MAIN(TestFrmMainGrid)
#include "tst_frmmain_grid.moc"
