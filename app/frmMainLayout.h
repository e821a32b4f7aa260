#pragma once

// The main window's layout in twips: the window at start-up, its panels and
// the places of their controls. The layout (frmMain_layout.cpp) and the
// panel switch (ShowFrame) both go by these.
namespace frmMainLayout {

// The window at start-up, and every panel but the grid's, in twips.
constexpr int kStartWidth = 8895;
constexpr int kStartHeight = 7065;
constexpr int kPanelLeft = 180;
constexpr int kPanelWidth = 8535;
// Space the fixed panels leave around themselves inside the window.
constexpr int kExtraWidth = 360;
constexpr int kExtraHeight = 850;
constexpr int kPanelGap = 200; // between the status panel and the panel below

constexpr int kTopHeight = 1995;
// Wide enough for "Update/Add" with room on both sides at any scale, also in
// the wider renderings of a bold sans font (Windows' own font engine draws
// DejaVu Sans Bold at 9 points 85 pixels wide where FreeType on Linux draws
// it 80).
constexpr int kButtonWidth = 1620;
constexpr int kButtonHeight = 420;
constexpr int kHelpSide = 360;
constexpr int kRowHeight = 330;
constexpr int kLabelLeft = 120;
constexpr int kLabelWidth = 1500;
constexpr int kFieldLeft = 1740;
// Picture buttons stand at the right of a panel, the last one 120 from its edge.
constexpr int kButtonStep = kButtonWidth + 120;
constexpr int kLastButtonLeft = kPanelWidth - 120 - kButtonWidth;

// Heights of the fixed panels; the advanced panel has two.
constexpr int kEditorHeight = 3090;
constexpr int kFreeHeight = 2190;
constexpr int kAdvancedDomainHeight = 1360;
constexpr int kAdvancedFreeHeight = 2850;
constexpr int kAdvancedRow1 = 150;
constexpr int kAdvancedRow2 = 540;
constexpr int kAdvancedRow3 = 930;

} // namespace frmMainLayout
