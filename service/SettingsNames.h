#pragma once

#include "RegistryStore.h"

#include <QString>

// Every value of the settings store the program reads or writes, by the name
// the registry layout gives it and its kind, in one place: a reader and a
// writer cannot spell one differently. Names match without regard to case.
namespace Settings {

using Value = RegistryStore::Setting;

// The key of the program's own settings, and the key of one account's.
inline const QString InitKey = QStringLiteral("SOFTWARE\\Veltrio\\Init");
inline QString AccountKey(const QString &user)
{
    return QStringLiteral("SOFTWARE\\Veltrio\\") + user;
}

// [Init]: the saved login and the connection.
inline constexpr Value bSaveLogin{QLatin1String("bSaveLogin"), RegistryStore::Number};
inline constexpr Value Username{QLatin1String("Username"), RegistryStore::Text};
inline constexpr Value Password{QLatin1String("Password"), RegistryStore::Text};
inline constexpr Value bSSL{QLatin1String("bSSL"), RegistryStore::Number};
inline constexpr Value Port{QLatin1String("Port"), RegistryStore::Text};
inline constexpr Value RefreshRate{QLatin1String("RefreshRate"), RegistryStore::Text};
inline constexpr Value bRunAsService{QLatin1String("bRunAsService"), RegistryStore::Number};

// [<user>]: the main window's layout and the grid's sort.
inline constexpr Value MainLeft{QLatin1String("MainLeft"), RegistryStore::Number};
inline constexpr Value MainTop{QLatin1String("MainTop"), RegistryStore::Number};
inline constexpr Value MainWidth{QLatin1String("MainWidth"), RegistryStore::Number};
inline constexpr Value MainHeight{QLatin1String("MainHeight"), RegistryStore::Number};
inline constexpr Value WindowState{QLatin1String("WindowState"), RegistryStore::Number};
// "Col1" to "Col5": the grid's column widths.
inline QString ColumnWidth(int column)
{
    return QStringLiteral("Col%1").arg(column + 1);
}
inline constexpr Value SortCol{QLatin1String("SortCol"), RegistryStore::Number};
inline constexpr Value SortOrder{QLatin1String("SortOrder"), RegistryStore::Number};
inline constexpr Value Sorted{QLatin1String("Sorted"), RegistryStore::Number};

// [<user>]: the automatic refresh. The automatic list is read as "AutoIPs"
// and written as "AutoIps": one value.
inline constexpr Value AutoIPs{QLatin1String("AutoIPs"), RegistryStore::Text};
inline constexpr Value AutoIpsWritten{QLatin1String("AutoIps"), RegistryStore::Text};
inline constexpr Value IPAddress{QLatin1String("IPAddress"), RegistryStore::Text};
inline constexpr Value Replaces{QLatin1String("Replaces"), RegistryStore::Text};
// The command run after a check that changed records (see ChangeCommand).
inline constexpr Value OnChange{QLatin1String("OnChange"), RegistryStore::Text};
// What an earlier version kept owed; read once, then emptied.
inline constexpr Value PendingAdds{QLatin1String("PendingAdds"), RegistryStore::Text};

// [<user>]: the free sub-domain's boxes.
inline constexpr Value bAutoIP{QLatin1String("bAutoIP"), RegistryStore::Number};
inline constexpr Value bMX{QLatin1String("bMX"), RegistryStore::Number};
inline constexpr Value bFTP{QLatin1String("bFTP"), RegistryStore::Number};
inline constexpr Value bMail{QLatin1String("bMail"), RegistryStore::Number};
inline constexpr Value bTelnet{QLatin1String("bTelnet"), RegistryStore::Number};
inline constexpr Value bVNC{QLatin1String("bVNC"), RegistryStore::Number};
inline constexpr Value bWWW{QLatin1String("bWWW"), RegistryStore::Number};
inline constexpr Value bIRC{QLatin1String("bIRC"), RegistryStore::Number};
inline constexpr Value bPCAW{QLatin1String("bPCAW"), RegistryStore::Number};

} // namespace Settings
