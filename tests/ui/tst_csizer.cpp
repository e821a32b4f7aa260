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

    QWidget *addChild(const QRect &geometry)
    {
        auto *child = new QWidget(form.get());
        child->setGeometry(geometry);
        return child;
    }

private slots:
    void initTestCase() { QCOMPARE(Twips::Dpi(), 96.0); }

    void init()
    {
        form = std::make_unique<QWidget>();
        form->resize(FormSize);
    }
    void cleanup() { form.reset(); }

    void resize_followsRule_data()
    {
        QTest::addColumn<int>("rule");
        QTest::addColumn<QRect>("child");
        QTest::addColumn<QSize>("change");
        QTest::addColumn<QRect>("expected");
        const QRect child(100, 50, 80, 40);
        const QSize grow(60, 30), shrink(-40, -20);
        const struct
        {
            int rule;
            QRect grown, shrunk;
        } rows[] = {{0, child, child},
                    {1, {160, 50, 80, 40}, {60, 50, 80, 40}},
                    {2, {100, 80, 80, 40}, {100, 30, 80, 40}},
                    {4, {100, 50, 140, 40}, {100, 50, 40, 40}},
                    {8, {100, 50, 80, 69}, {100, 50, 80, 19}},
                    {3, {160, 80, 80, 40}, {60, 30, 80, 40}},
                    {12, {100, 50, 140, 69}, {100, 50, 40, 19}}};
        for (const auto &row : rows) {
            QTest::addRow("%d grow", row.rule) << row.rule << child << grow << row.grown;
            QTest::addRow("%d shrink", row.rule) << row.rule << child << shrink << row.shrunk;
        }
        // Sums below 0 are clamped to 0; the height allowance comes off after
        // the clamp, and the negative height that leaves is applied as 0.
        QTest::newRow("15 shrink past the edges")
            << 15 << QRect(20, 10, 30, 15) << shrink << QRect(0, 0, 0, 0);
        QTest::newRow("8 shrink to the allowance")
            << 8 << QRect(0, 0, 10, 21) << shrink << QRect(0, 0, 10, 0);
    }
    void resize_followsRule()
    {
        QFETCH(int, rule);
        QFETCH(QRect, child);
        QFETCH(QSize, change);
        QFETCH(QRect, expected);
        QWidget *control = addChild(child);
        CSizer sizer;
        sizer.Create(form.get());
        sizer.Add(control, rule);

        form->resize(FormSize + change);
        sizer.Resize();

        QCOMPARE(control->geometry(), expected);
        QVERIFY(form->updatesEnabled());
    }

    void resize_backToCreationSize_restoresRegistration()
    {
        const QRect start(100, 50, 80, 40);
        QList<QWidget *> controls;
        CSizer sizer;
        sizer.Create(form.get());
        for (int rule : {1, 2, 4, 8, 15}) {
            controls.append(addChild(start));
            sizer.Add(controls.last(), rule);
        }
        for (const QSize &size : {QSize(700, 500), QSize(250, 200), FormSize}) {
            form->resize(size);
            sizer.Resize();
        }
        const QRect shorter = start.adjusted(0, 0, 0, -1);
        const QList<QRect> expected{start, start, start, shorter, shorter};
        for (int i = 0; i < controls.size(); ++i)
            QCOMPARE(controls.at(i)->geometry(), expected.at(i));
    }

    void resize_minimised_leavesEverything()
    {
        QWidget *control = addChild(QRect(100, 50, 80, 40));
        CSizer sizer;
        sizer.Create(form.get(), FormSize.height() * 15, FormSize.width() * 15);
        sizer.Add(control, 15);
        form->setWindowState(Qt::WindowMinimized);
        form->resize(200, 100);

        sizer.Resize();

        QCOMPARE(form->size(), QSize(200, 100));
        QCOMPARE(control->geometry(), QRect(100, 50, 80, 40));
    }

    void resize_parkedControl_staysParkedAndKeepsOnScreenLeft()
    {
        const int parkedLeft = -75000 / 15; // a hidden panel's control
        QWidget *control = addChild(QRect(parkedLeft + 100, 50, 80, 40));
        CSizer sizer;
        sizer.Create(form.get());
        sizer.Add(control, 1);
        form->resize(FormSize + QSize(60, 0));

        sizer.Resize();
        QCOMPARE(control->geometry(), QRect(parkedLeft + 100, 50, 80, 40));

        // The panel is shown again: the control now follows from its
        // on-screen left.
        control->move(100, 50);
        sizer.Resize();
        QCOMPARE(control->geometry(), QRect(160, 50, 80, 40));
    }

    void add_eleventh_doublesCapacityKeepingTheFirstTen()
    {
        CSizer sizer;
        sizer.Create(form.get());
        QList<QWidget *> controls;
        for (int i = 0; i < 11; ++i) {
            controls.append(addChild(QRect(10 * i, 5 * i, 20, 10)));
            sizer.Add(controls.last(), 3);
            QCOMPARE(sizer.Capacity(), i < 10 ? 10 : 20);
        }
        QCOMPARE(sizer.Count(), 11);
        form->resize(FormSize + QSize(30, 20));

        sizer.Resize();

        for (int i = 0; i < 11; ++i)
            QCOMPARE(controls.at(i)->geometry(), QRect(10 * i + 30, 5 * i + 20, 20, 10));
    }

    void resize_belowMinimum_snapsBackBeforePlacing_data()
    {
        QTest::addColumn<QSize>("shrunk");
        QTest::newRow("too low") << QSize(400, 200);
        QTest::newRow("too low and narrow") << QSize(250, 150);
    }
    void resize_belowMinimum_snapsBackBeforePlacing()
    {
        QFETCH(QSize, shrunk);
        QWidget *control = addChild(QRect(100, 50, 80, 40));
        CSizer sizer;
        sizer.Create(form.get(), FormSize.height() * 15, FormSize.width() * 15);
        sizer.Add(control, 15);
        form->resize(shrunk);

        sizer.Resize();

        QCOMPARE(form->size(), FormSize);
        QCOMPARE(control->geometry(), QRect(100, 50, 80, 39));
    }
};

QTEST_MAIN(TestCSizer)
#include "tst_csizer.moc"
