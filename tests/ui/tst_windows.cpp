#include "Windows.h"

#include <QCloseEvent>
#include <QPointer>
#include <QPushButton>
#include <QTest>

namespace {

// A window whose close check can refuse, like the main window's prompt.
class Window : public QWidget
{
public:
    explicit Window(const QString &name) { setObjectName(name); }
    bool refuse = false;

protected:
    void closeEvent(QCloseEvent *event) override { event->setAccepted(!refuse); }
};

} // namespace

class TestWindows : public QObject
{
    Q_OBJECT

private slots:
    void loadedInOrderAndFoundIgnoringCase()
    {
        auto *main = new Window(QStringLiteral("frmMain"));
        Windows::Track(main);
        auto *login = new Window(QStringLiteral("frmLogin"));
        Windows::Track(login);
        QWidget notAProgramWindow; // no "frm" name: a message box, a pop-up
        QCOMPARE(Windows::Loaded(), (QList<QWidget *>{main, login}));
        QCOMPARE(Windows::Find(QStringLiteral("FRMLOGIN")), login);
        QCOMPARE(Windows::Find(QStringLiteral("frmAbout")), nullptr);
        delete main;
        delete login;
        QCOMPARE(Windows::Loaded(), QList<QWidget *>());
    }

    void unloadRunsTheCloseCheck()
    {
        QPointer<Window> main = new Window(QStringLiteral("frmMain"));
        main->refuse = true;
        QVERIFY(!Windows::Unload(main));
        QCOMPARE(Windows::Find(QStringLiteral("frmMain")), main.data());
        main->refuse = false;
        QVERIFY(Windows::Unload(main));
        QCOMPARE(Windows::Find(QStringLiteral("frmMain")), nullptr);
        QTRY_VERIFY(main.isNull());
    }

    void unloadFromTheWindowsOwnButton()
    {
        QPointer<Window> login = new Window(QStringLiteral("frmLogin"));
        auto *button = new QPushButton(login);
        connect(button, &QPushButton::clicked, login, [&] { Windows::Unload(login); });
        login->show();
        QTest::mouseClick(button, Qt::LeftButton);
        QVERIFY(Windows::Loaded().isEmpty());
        QTRY_VERIFY(login.isNull());
    }
};

QTEST_MAIN(TestWindows)
#include "tst_windows.moc"
