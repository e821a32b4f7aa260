// What reading an account's section costs as it grows: every value read by
// its index, as the main window's start-up reads the saved layout, against
// QSettings reading the same keys straight.
#include "RegistryStore.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

class BenchSettings : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    QString fileWith(int values)
    {
        const QString file = m_dir.filePath(QStringLiteral("s%1.ini").arg(values));
        QSettings ini(file, QSettings::IniFormat);
        ini.beginGroup(QStringLiteral("acme"));
        for (int i = 0; i < values; ++i)
            ini.setValue(QStringLiteral("Junk%1").arg(i), i);
        ini.endGroup();
        ini.setValue(QStringLiteral("Init/Port"), 80);
        return file;
    }

private slots:
    void readSection_data()
    {
        QTest::addColumn<int>("values");
        for (int values : {1000, 4000, 16000})
            QTest::addRow("%d values", values) << values;
    }
    void readSection()
    {
        QFETCH(int, values);
        RegistryStore::SetFile(fileWith(values));
        QBENCHMARK
        {
            RegistryStore store;
            store.SetKey(QStringLiteral("SOFTWARE\\Veltrio\\acme"));
            const int count = store.ValueCount();
            QCOMPARE(count, values);
            for (int i = 1; i <= count; ++i) {
                store.ValueName(i);
                store.ReadValue(i);
            }
        }
    }

    void bareQSettings_data() { readSection_data(); }
    void bareQSettings()
    {
        QFETCH(int, values);
        const QString file = fileWith(values);
        QBENCHMARK
        {
            QSettings ini(file, QSettings::IniFormat);
            ini.beginGroup(QStringLiteral("acme"));
            const QStringList keys = ini.childKeys();
            for (const QString &key : keys)
                ini.value(key);
        }
    }
};

QTEST_GUILESS_MAIN(BenchSettings)
#include "bench_settings.moc"
