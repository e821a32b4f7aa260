// The main window at twice the size on a small screen: 1920 x 900 pixels at
// a scale of 2 leave 960 x 450 for it. Every panel fits, and the grid's
// controls stay inside the window.
#include "TestSeams.h"
#include "frmMain.h"

#include "PictureButton.h"
#include "RegistryStore.h"
#include "basErr.h"
#include "clsUser.h"

#include <cstdio>

#include <QApplication>
#include <QDir>
#include <QScreen>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeView>

using namespace Qt::StringLiterals;

class TestScale : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        RegistryStore::SetFile(m_dir.filePath(u"settings.ini"_s));
        basErr::SetLogFolder(m_dir.filePath(u"Logs"_s));
        ProgramWide::Reset();
        QCOMPARE(QGuiApplication::primaryScreen()->devicePixelRatio(), 2.0);
        QCOMPARE(QGuiApplication::primaryScreen()->availableGeometry().height(), 450);
    }

    void panelsFitTheScreen_data()
    {
        QTest::addColumn<QString>("panel");
        for (const char *panel : {"Grid", "Domain", "Veltrio", "AdvancedDomain", "AdvancedFree"})
            QTest::newRow(panel) << QString::fromLatin1(panel);
    }
    void panelsFitTheScreen()
    {
        QFETCH(QString, panel);
        TestSeams seams;
        frmMain w;
        w.ShowFrame(u"Grid"_s);
        w.ShowFrame(panel);
        w.show();
        QVERIFY(QTest::qWaitForWindowExposed(&w));
        const QRect screen = w.screen()->availableGeometry();
        QVERIFY2(screen.contains(w.frameGeometry()),
                 qPrintable(u"%1x%2"_s.arg(w.frameGeometry().width()).arg(w.height())));
        // Nothing of the grid's panel is cut off at the bottom.
        if (panel == "Grid"_L1) {
            for (const QWidget *control :
                 std::initializer_list<const QWidget *>{w.lvDomainUser, w.cmdAddGrid, w.frameGrid})
                QVERIFY2(
                    w.rect().contains(QRect(control->mapTo(&w, QPoint(0, 0)), control->size())),
                    qPrintable(control->objectName()));
        }
    }
};

int main(int argc, char *argv[])
{
    // A screen of 1920 x 900 pixels, drawn at twice the size.
    QTemporaryDir dir;
    QFile file(dir.filePath(u"screen.json"_s));
    if (!file.open(QIODevice::WriteOnly)) {
        fprintf(stderr, "tst_scale: cannot write %s: %s\n", qPrintable(file.fileName()),
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
    TestScale test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_scale.moc"
