#pragma once

#include <QList>
#include <QString>
#include <QVariant>
#include <memory>

class QSettings;

// The settings store: keys below "SOFTWARE\Veltrio\" with named values. On
// Windows it is the registry (HKEY_CURRENT_USER); elsewhere an INI file in
// which every key below "SOFTWARE\Veltrio\" is a section. Value names match
// without regard to case; a missing key or value reads as empty.
class RegistryStore
{
public:
    enum ValueType { Text = 0, Number = 4 };
    // A value the program keeps, by name and kind: SettingsNames.h lists them.
    struct Setting
    {
        QLatin1String name;
        ValueType type;
    };

    RegistryStore();
    ~RegistryStore();
    RegistryStore(const RegistryStore &) = delete;
    RegistryStore &operator=(const RegistryStore &) = delete;

    // Selects a key such as "SOFTWARE\Veltrio\Init".
    void SetKey(const QString &keyPath);
    // The value's data as text; empty when the key or value is missing.
    QString ReadValue(const QString &name) const;
    QString ReadValue(const Setting &setting) const { return ReadValue(QString(setting.name)); }
    // Whether the value reads exactly "1": how a flag is tested.
    bool IsSet(const Setting &setting) const { return ReadValue(setting) == QLatin1String("1"); }
    // Number of values of the key; 0 when it does not exist.
    int ValueCount() const;
    // Name and data of the value at a 1-based index.
    QString ValueName(int index) const;
    QString ReadValue(int index) const;
    // Creates the key when needed and stores the value.
    void WriteValue(const QString &name, const QVariant &data, ValueType type);
    void WriteValue(const Setting &setting, const QVariant &data)
    {
        WriteValue(QString(setting.name), data, setting.type);
    }
    // Stores several values of the key in one write of the store: a reader,
    // or a program that ends at any moment, finds all of them or none.
    struct Value
    {
        QString name;
        QVariant data;
        ValueType type;
    };
    void WriteValues(const QList<Value> &values);

    // Where the store lives: an INI file (--settings, tests), or the
    // platform's default when empty.
    static void SetFile(const QString &iniFile);
    static QString File();

private:
    struct Private;
    std::unique_ptr<Private> d;
};
