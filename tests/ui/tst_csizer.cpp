#include "CSizer.h"
#include "Twips.h"

#include <QTest>
#include <QWidget>
#include <memory>

// Sizes are whole pixels: at 96 dpi a pixel is 15 twips, so the sizer's twips
// arithmetic maps back onto exact pixel positions.
class TestCSizer : public QObject
{
    Q_OBJECT

    static constexpr QSize FormSize{400, 300};

    std::unique_ptr<QWidget> form;
    CSizer sizer;

    QWidget *add(const QRect &geometry, int rule)
    {
        auto *child = new QWidget(form.get());
        child->setGeometry(geometry);
        sizer.Add(child, rule);
        return child;
    }
    void resizeTo(const QSize &size)
    {
        form->resize(size);
        sizer.Resize();
    }

private slots:
    void initTestCase() { QCOMPARE(Twips::Dpi(), 96.0); }
    void init()
    {
        form = std::make_unique<QWidget>();
        form->resize(FormSize);
        sizer.Create(form.get());
    }

    void resize_followsRule_data()
    {
        QTest::addColumn<int>("rule");
        QTest::addColumn<QRect>("child");
        QTest::addColumn<QSize>("change");
        QTest::addColumn<QRect>("expected");
        const QRect child(100, 50, 80, 40);
        const QSize grow(60, 30), shrink(-40, -20);
        QTest::newRow("2 moves down") << 2 << child << grow << QRect(100, 80, 80, 40);
        QTest::newRow("8 grows higher, less the allowance")
            << 8 << child << grow << QRect(100, 50, 80, 69);
        QTest::newRow("12 shrinks") << 12 << child << shrink << QRect(100, 50, 40, 19);
        // Sums below 0 are clamped to 0; the height allowance comes off after
        // the clamp, and the negative height that leaves is applied as 0.
        QTest::newRow("15 shrinks past the edges")
            << 15 << QRect(20, 10, 30, 15) << shrink << QRect(0, 0, 0, 0);
        QTest::newRow("8 shrinks to the allowance")
            << 8 << QRect(0, 0, 10, 21) << shrink << QRect(0, 0, 10, 0);
    }
    void resize_followsRule()
    {
        QFETCH(int, rule);
        QFETCH(QRect, child);
        QFETCH(QSize, change);
        QFETCH(QRect, expected);
        QWidget *control = add(child, rule);
        resizeTo(FormSize + change);
        QCOMPARE(control->geometry(), expected);
        QVERIFY(form->updatesEnabled());
    }

    // Eleven controls, more than the first allocation holds, placed from
    // what was registered rather than from where the last resize left them.
    void resize_placesFromTheRegisteredGeometry()
    {
        QList<QWidget *> controls;
        for (int i = 0; i < 11; ++i)
            controls << add(QRect(10 * i, 5 * i, 20, 10), 15);
        for (const QSize &size : {QSize(700, 500), QSize(250, 200), FormSize})
            resizeTo(size);
        for (int i = 0; i < 11; ++i)
            QCOMPARE(controls[i]->geometry(), QRect(10 * i, 5 * i, 20, 9));
    }

    void resize_parkedControl_staysParkedThenFollowsItsOnScreenLeft()
    {
        const int parked = -75000 / 15 + 100; // a hidden panel's control
        QWidget *control = add(QRect(parked, 50, 80, 40), 1);
        resizeTo(FormSize + QSize(60, 0));
        QCOMPARE(control->pos(), QPoint(parked, 50));
        control->move(100, 50); // the panel is shown again
        sizer.Resize();
        QCOMPARE(control->pos(), QPoint(160, 50));
    }
};

QTEST_MAIN(TestCSizer)
#include "tst_csizer.moc"
