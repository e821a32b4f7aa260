// The main window at the keyboard against veltrio-service: where the focus
// starts and where Tab takes it in each panel, the keys of each panel, the
// status after a new login, and the editor kept when the service refused.
#include "KeyboardSteps.h"
#include "MainWindowTest.h"

#include "PictureButton.h"

#include <QSystemTrayIcon>
#include <QUrlQuery>

using namespace Qt::StringLiterals;

class TestFrmMainKeys : public MainWindowTest
{
    Q_OBJECT

    frmMain *activeWindow(const QString &user)
    {
        frmMain *w = startWithSavedLogin(user);
        w->activateWindow();
        return QTest::qWaitForWindowActive(w) ? w : nullptr;
    }

    // The keyboard's steps, and "select NAME" for the grid row of a name.
    void run(frmMain &w, const QString &steps)
    {
        KeyboardSteps::Run(&w, steps,
                           [&](const QString &, const QString &name) { select(w, name); });
    }

    // The commands of the record requests received, in order.
    QString commands() const
    {
        QStringList words;
        for (const QString &query : sent())
            words << QUrlQuery(query).queryItemValue(u"DNSCommand"_s);
        return words.join(u',');
    }

    static QWidget *shownPanel(const frmMain &w)
    {
        for (QFrame *panel :
             {w.frameGrid, w.frameOtherDomain, w.frameVeltrioDomain, w.frameAdvanced}) {
            if (panel->isVisible())
                return panel;
        }
        return nullptr;
    }

private slots:
    void init() { QVERIFY2(startService(), qPrintable(m_service->errorString())); }
    void cleanup() { tearDown(); }

    // Every panel starts at its first field, and Tab goes round what the
    // panel shows, in reading order, its help last: nothing outside the
    // panel, nothing hidden.
    void focusChain_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("chain"); // from the control focused first
        QTest::newRow("grid") << u"acme"_s << QString()
                              << u"lvDomainUser,cmdAddGrid,cmdEditGrid,cmdDeleteGrid,"
                                 "cmdAdvancedDomain,imgHelpGrid"_s;
        QTest::newRow("new record") << u"acme"_s << u"click cmdAddGrid"_s
                                    << u"txtCName,txtServerIP,chkDomainAutoIP,cmdServerIP,"
                                       "cmdCancel,imgHelpDomain,cboDomain,cboRecordType"_s;
        QTest::newRow("editing a port relay")
            << u"acme"_s << u"select shop; click cmdEditGrid"_s
            << u"txtServerIP,txtPort,chkDomainAutoIP,cmdServerIP,cmdCancel,imgHelpDomain,"
               "cboDomain,cboRecordType,txtCName"_s;
        QTest::newRow("advanced, own domains")
            << u"acme"_s << u"click cmdAdvancedDomain"_s
            << u"cboPorts,chkService,cboRefreshRate,chkSSL,cmdOKAdvanced"_s;
        QTest::newRow("free sub-domain")
            << u"demo"_s << QString()
            << u"txtVeltrioIP,chkAutoIP,cmdVeltrioSetIP,cmdAdvancedFree,imgHelpFree"_s;
        QTest::newRow("advanced, free sub-domain")
            << u"demo"_s << u"click cmdAdvancedFree"_s
            << u"cboPorts,chkService,cboRefreshRate,chkSSL,chkFTP,chkWWW,chkIRC,chkTelnet,"
               "chkPCAW,chkVNC,chkMail,chkMX,cmdOKAdvanced"_s;
    }
    void focusChain()
    {
        QFETCH(QString, user);
        QFETCH(QString, steps);
        QFETCH(QString, chain);
        frmMain *w = activeWindow(user);
        QVERIFY(w);
        run(*w, steps);
        QWidget *panel = shownPanel(*w);
        QVERIFY(panel);
        QCOMPARE(KeyboardSteps::TabChain(panel), chain);
    }

    void keys_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("panel");    // shown afterwards
        QTest::addColumn<QString>("focus");    // focused afterwards
        QTest::addColumn<QString>("commands"); // record commands sent
        QTest::addColumn<QString>("asked");    // first message's first line
        const QString done = u"Transaction Complete:"_s;
        const QString sure = u"Are you sure you want to delete the selected record?"_s;
        const QString typed =
            u"click cmdAddGrid; type txtCName=vpn; type txtServerIP=198.51.100.5"_s;
        QTest::newRow("grid: Return edits the selected row")
            << u"acme"_s << u"select www; key Return"_s << u"frameOtherDomain"_s << u"txtServerIP"_s
            << QString() << QString();
        QTest::newRow("grid: Return without a selection says so")
            << u"acme"_s << u"focus lvDomainUser; key Return"_s << u"frameGrid"_s
            << u"lvDomainUser"_s << QString() << u"Please select a row"_s;
        QTest::newRow("grid: Delete asks, then deletes")
            << u"acme"_s << u"select www; key Delete"_s << u"frameGrid"_s << u"lvDomainUser"_s
            << u"RECORDDELETE"_s << sure;
        QTest::newRow("editor: Return in a box adds")
            << u"acme"_s << typed + u"; key Return"_s << u"frameGrid"_s << u"lvDomainUser"_s
            << u"RECORDADD"_s << done;
        QTest::newRow("editor: keypad Enter in the domain box adds")
            << u"acme"_s << typed + u"; focus cboDomain; key Enter"_s << u"frameGrid"_s
            << u"lvDomainUser"_s << u"RECORDADD"_s << done;
        QTest::newRow("editor: Escape cancels")
            << u"acme"_s << typed + u"; key Escape"_s << u"frameGrid"_s << u"lvDomainUser"_s
            << QString() << QString();
        QTest::newRow("editor: Return on Cancel cancels")
            << u"acme"_s << typed + u"; focus cmdCancel; key Return"_s << u"frameGrid"_s
            << u"lvDomainUser"_s << QString() << QString();
        QTest::newRow("advanced: Escape is Done")
            << u"acme"_s << u"click cmdAdvancedDomain; key Escape"_s << u"frameGrid"_s
            << u"lvDomainUser"_s << QString() << QString();
        QTest::newRow("free: Return sets the address")
            << u"demo"_s << u"focus txtVeltrioIP; key Return"_s << u"frameVeltrioDomain"_s
            << u"txtVeltrioIP"_s << u"RECORDADD"_s << done;
        QTest::newRow("free advanced: Escape is Done")
            << u"demo"_s << u"click cmdAdvancedFree; focus chkMX; key Escape"_s
            << u"frameVeltrioDomain"_s << u"txtVeltrioIP"_s << QString() << QString();
    }
    void keys()
    {
        QFETCH(QString, user);
        QFETCH(QString, steps);
        QFETCH(QString, asked);
        frmMain *w = activeWindow(user);
        QVERIFY(w);
        m_service->clearRequests();
        m_seams->messages.clear();
        run(*w, steps);
        QWidget *panel = shownPanel(*w);
        QTEST(panel ? panel->objectName() : QString(), "panel");
        QTEST(KeyboardSteps::FocusName(), "focus");
        QTEST(commands(), "commands");
        QCOMPARE(m_seams->texts().value(0).section(u'\r', 0, 0).section(u'\n', 0, 0), asked);
    }

    // After a failed request, a new login says the service answered: green
    // status and tray, and no check time of the session before.
    void newLogin_showsConnected()
    {
        frmMain *w = &startDue("acme");
        QVERIFY(check(*w));
        QVERIFY(!w->lblLastIPCheck->text().isEmpty());
        QVERIFY(m_service->setNextReply(u"Error:down</p>"_s));
        w->cmdAddGrid_Click();
        w->txtCName->setText(u"vpn"_s);
        w->txtServerIP->setText(u"198.51.100.5"_s);
        w->cmdServerIP_Click();
        QCOMPARE(w->lblStatus->text(), u"Not Connected with Server"_s);
        QVERIFY(w->cSysTrayOff->isVisible() && !w->cSysTrayOn->isVisible());
        m_onLogin = [](frmLogin *login) {
            login->txtUsername->setText(u"acme"_s);
            login->txtPassword->setText(u"acme"_s);
            login->cmdLogin_Click();
        };
        w->mnuLogin_Click();
        QVERIFY(m_loginShown && w->isVisible());
        QCOMPARE(w->lblStatus->text(), u"Connected"_s);
        QCOMPARE(w->StatusColour(), StatusColour::Connected);
        QVERIFY(w->cSysTrayOn->isVisible() && !w->cSysTrayOff->isVisible());
        QCOMPARE(w->lblLastIPCheck->text(), QString());
    }

    // A refused add keeps the editor with what was typed; sending again
    // adds (an edit whose delete went through deletes nothing more).
    void refusedAdd_keepsTheEditor_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("address"); // in the editor after the refusal
        QTest::addColumn<QString>("first");   // commands sent the first time
        QTest::addColumn<QString>("again");   // and the second
        QTest::addColumn<QString>("kept");    // the service's record afterwards
        QTest::newRow("new record")
            << u"click cmdAddGrid; type txtCName=vpn; type txtServerIP=198.51.100.5"_s
            << u"198.51.100.5"_s << u"RECORDADD"_s << u"RECORDADD"_s << u"vpn=198.51.100.5"_s;
        QTest::newRow("edited record")
            << u"select mail; click cmdEditGrid; type txtServerIP=198.51.100.9"_s
            << u"198.51.100.9"_s << u"RECORDDELETE,RECORDADD"_s << u"RECORDADD"_s
            << u"mail=198.51.100.9"_s;
        // The relay's port stays in its own box, not in the address.
        QTest::newRow("edited port relay")
            << u"select shop; click cmdEditGrid; type txtPort=8081"_s
            << u"http://203.0.113.7/shop"_s << u"RECORDDELETE,RECORDADD"_s << u"RECORDADD"_s
            << u"shop=http://203.0.113.7:8081/shop"_s;
    }
    void refusedAdd_keepsTheEditor()
    {
        QFETCH(QString, steps);
        QFETCH(QString, address);
        frmMain *w = activeWindow(u"acme"_s);
        QVERIFY(w);
        run(*w, steps);
        const QString name = w->txtCName->text();
        m_service->clearRequests();
        QVERIFY(m_service->setNextReply(u"Error:down</p>"_s, u"RECORDADD"_s));
        w->cmdServerIP_Click();
        QTEST(commands(), "first");
        QVERIFY(!w->frameOtherDomain->isHidden());
        QCOMPARE(w->txtCName->text(), name);
        QCOMPARE(w->txtServerIP->text(), address);
        QVERIFY(m_seams->texts().contains(u"Could not Set IP.  down"_s));
        m_service->clearRequests();
        w->cmdServerIP_Click();
        QTEST(commands(), "again");
        QVERIFY(!w->frameGrid->isHidden());
        QFETCH(QString, kept);
        QCOMPARE(stateNames(u"acme"_s).filter(name + u'=').join(u' ').toLower(), kept.toLower());
    }
};

QTEST_MAIN(TestFrmMainKeys)
#include "tst_frmmain_keys.moc"
