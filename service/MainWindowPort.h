#pragma once

#include <QString>

// Colours of the connection status label, as RGB values written blue-green-red
// (32768 is green 0,128,0; 192 is dark red 192,0,0).
namespace StatusColour {
inline constexpr int Connected = 32768;
inline constexpr int NotConnected = 192;
} // namespace StatusColour

// What the protocol and the login need from the main window. The main window
// implements it and registers itself; without one, these effects are skipped.
class MainWindowPort
{
public:
    virtual ~MainWindowPort() = default;

    // Colour of the connection status label.
    virtual int StatusColour() const = 0;
    // Caption and colour of the connection status label.
    virtual void SetStatus(const QString &caption, int colour) = 0;
    // Shows the tray icon for a reachable (true) or unreachable service.
    virtual void SysTrayIcon(bool connected) = 0;
    // Disables the whole window while a record command waits, and back.
    virtual void SetWindowEnabled(bool enabled) = 0;
    // Loads the free sub-domain's details after a login with a sub-domain.
    virtual void LoadFreeUserInfo() = 0;
};

MainWindowPort *RegisteredMainWindow();
void RegisterMainWindow(MainWindowPort *window);
