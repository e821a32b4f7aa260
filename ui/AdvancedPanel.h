#pragma once

#include <QString>

class QComboBox;
class QWidget;

// The connection choices shown on both the login and the main window.
namespace AdvancedPanel {

// Fills the window's cboPorts, cboRefreshRate, chkSSL and chkService (found
// by object name) from the "Init" settings and points sServiceURL at the
// chosen endpoint. Runs under the common error trap.
void LoadAdvancedTabSettings(QWidget *window);

// Empties the combo box and adds every comma-separated item of the list, in
// order, empty items included; an empty list leaves the box empty.
void FillComboFromList(QComboBox *combo, const QString &list);

// The refresh-rate box takes digits only. Leaving it empty puts back the last
// number it showed, so a tick never reads an empty rate from it.
void KeepNumeric(QComboBox *combo);
// The box's number: its text, or while it is being edited and empty, the
// last number it showed.
QString NumericText(const QComboBox *combo);

} // namespace AdvancedPanel
