#pragma once

#include <QCoreApplication>
#include <QString>

// The program's version, set once in the build: major.minor and a revision
// ("Version 1.0 Rev 1"), written without leading zeros.
namespace Version {

inline int Major()
{
    return VELTRIO_VERSION_MAJOR;
}
inline int Minor()
{
    return VELTRIO_VERSION_MINOR;
}
inline int Revision()
{
    return VELTRIO_REVISION;
}

// "1.0"
inline QString MajorMinor()
{
    return QString::number(Major()) + QLatin1Char('.') + QString::number(Minor());
}

// The login window's caption: "Login  version 1.0" (two blanks).
inline QString LoginCaption()
{
    return QStringLiteral("Login  version ") + MajorMinor();
}

// Gives the application object the program's names and version: where Qt
// keeps the settings and data of "Veltrio"'s "VeltrioDNS", whichever of the
// programs runs.
inline void NameTheProgram()
{
    QCoreApplication::setApplicationName(QStringLiteral("VeltrioDNS"));
    QCoreApplication::setOrganizationName(QStringLiteral("Veltrio"));
    QCoreApplication::setApplicationVersion(MajorMinor() + QLatin1Char('.') +
                                            QString::number(Revision()));
}

} // namespace Version
