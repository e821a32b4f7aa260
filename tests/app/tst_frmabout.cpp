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
    void captions()
    {
        frmAbout box;
        QCOMPARE(box.windowTitle(), QStringLiteral("About Veltrio DNS App"));
        const QStringList lines = box.lblTitle->text().split(QLatin1Char('\n'));
        QCOMPARE(lines.size(), 3);
        // Numbers from the build, without leading zeros.
        QCOMPARE(lines[0], QStringLiteral("Veltrio Dynamic DNS Version %1.%2 Rev %3")
                               .arg(VELTRIO_VERSION_MAJOR)
                               .arg(VELTRIO_VERSION_MINOR)
                               .arg(VELTRIO_REVISION));
        QCOMPARE(box.Label1->text(),
                 QStringLiteral("Click here to view the Veltrio Terms of Service"));
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

    void numberValueText_data()
    {
        QTest::addColumn<quint32>("value");
        QTest::addColumn<QString>("text");
        QTest::newRow("one") << 1u << "1";
        QTest::newRow("zero") << 0u << "0";
        QTest::newRow("all four bytes") << 0x12345678u << "305419896";
        // Unpadded bytes run together: 0x0102 reads back as 0x012.
        QTest::newRow("small bytes") << 0x0102u << "18";
        QTest::newRow("high bit") << 0xFFFFFFFFu << "-1";
    }
    void numberValueText()
    {
        QFETCH(quint32, value);
        QFETCH(QString, text);
        QCOMPARE(frmAbout::NumberValueText(value), text);
    }
};

QTEST_MAIN(TestFrmAbout)
#include "tst_frmabout.moc"
