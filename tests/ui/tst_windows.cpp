#include "Windows.h"

#include <QTest>
#include <QWidget>

class TestWindows : public QObject
{
    Q_OBJECT

private slots:
    void loadedInOrderAndFoundIgnoringCase()
    {
        QWidget login, main, popUp; // the pop-up has no "frm" name: not a program window
        main.setObjectName(QStringLiteral("frmMain"));
        login.setObjectName(QStringLiteral("frmLogin"));
        Windows::Track(&main);
        Windows::Track(&login);
        // In the order they were tracked, not created.
        QCOMPARE(Windows::Loaded(), (QList<QWidget *>{&main, &login}));
        QCOMPARE(Windows::Find(QStringLiteral("FRMLOGIN")), &login);
        QCOMPARE(Windows::Find(QStringLiteral("frmAbout")), nullptr);
    }
};

QTEST_MAIN(TestWindows)
#include "tst_windows.moc"
