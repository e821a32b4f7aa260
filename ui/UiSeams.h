#pragma once

// Installs the real message box (QMessageBox, Yes the default button of a
// Yes/No question) and the real shell Open (QDesktopServices) behind the
// program's seams.
namespace UiSeams {
void Install();
}
