#include "PictureButton.h"
#include "TestSeams.h"
#include "Windows.h"
#include "frmAbout.h"

#include <QLabel>
#include <QPointer>
#include <QTest>

class TestFrmAbout : public QObject
{
    Q_OBJECT

private slots:
    // The numbers come from the build, without leading zeros.
    void versionLine()
    {
        frmAbout box;
        QCOMPARE(box.lblTitle->text().section(u'\n', 0, 0),
                 QStringLiteral("Veltrio Dynamic DNS Version %1.%2 Rev %3")
                     .arg(VELTRIO_VERSION_MAJOR)
                     .arg(VELTRIO_VERSION_MINOR)
                     .arg(VELTRIO_REVISION));
    }

    void closes_data()
    {
        QTest::addColumn<QString>("control");
        QTest::newRow("OK button") << "cmdOK";
        QTest::newRow("its caption") << "Label2";
    }
    void closes()
    {
        QFETCH(QString, control);
        QPointer<frmAbout> box = new frmAbout;
        box->show();
        QVERIFY(QTest::qWaitForWindowExposed(box));
        QTest::mouseClick(box->findChild<QWidget *>(control), Qt::LeftButton);
        QCOMPARE(Windows::Find(QStringLiteral("frmAbout")), nullptr);
        QTRY_VERIFY(box.isNull());
    }

    void sysInfoUnavailableWithoutItsRegistryKeys()
    {
#ifdef Q_OS_WIN
        QSKIP("the tool may be installed here");
#endif
        TestSeams seams;
        frmAbout::StartSysInfo();
        QCOMPARE(seams.texts(),
                 QStringList{QStringLiteral("System Information Is Unavailable At This Time")});
    }

    void numberValueText()
    {
        QCOMPARE(frmAbout::NumberValueText(0x12345678u), QStringLiteral("305419896"));
        // Unpadded bytes run together: 0x0102 reads back as 0x012.
        QCOMPARE(frmAbout::NumberValueText(0x0102u), QStringLiteral("18"));
        QCOMPARE(frmAbout::NumberValueText(0xFFFFFFFFu), QStringLiteral("-1"));
    }
};

QTEST_MAIN(TestFrmAbout)
#include "tst_frmabout.moc"
