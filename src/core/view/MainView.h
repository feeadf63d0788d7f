// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

// What the logic reads and writes on the main window and its two secondary windows: a passive
// view. The real window implements it with widgets; tests implement it with a recording fake.
// Controls are named as on the window (their objectName), so a call reads like the window.

// The controls in groups, as on the window.
// clang-format off
enum class Control {
    // lists
    List1, list2, list3,
    // entry box and buttons
    txtInput, cmdMapIt, cmdBoolAnd, cmdBoolOr, cmdOnline, cmdTest, cmdRefresh, cmdInit,
    cmdCancelDownload, cmdLoadMatrix, cmdSaveMatrix, cmdPartLoadMatrix,
    // check boxes: "Latch", "Unit Status", "Advanced", "Boolean"
    chkTest, Check1, Check2, Check3,
    // labels
    lblError, lblFileName, lblDownloading, lblTallyOutputs, lblOutUnit, lblOutChannel, lblInUnit,
    lblInChannel, lblVersionInfo, lblMainVersionInfo,
    // transmit and receive lamps
    Shape1, Shape2,
};
// clang-format on

// What needs the tally system: greyed while offline, from the start until the link is tried.
inline constexpr Control OnlineOnlyControls[] = {
    Control::cmdTest, Control::chkTest, Control::cmdRefresh, Control::Check1, Control::Check2};

enum class Window { frmVerbose, frmUnitBits };

// A colour as red, green, blue; or the desktop's own button face, whatever the palette says.
struct Colour
{
    int red = 0;
    int green = 0;
    int blue = 0;
    bool buttonFace = false;
    friend bool operator==(const Colour &, const Colour &) = default;
};

namespace Colours {
inline constexpr Colour Red{255, 0, 0};
inline constexpr Colour Green{0, 255, 0};
inline constexpr Colour LightRed{255, 128, 128};
inline constexpr Colour Black{0, 0, 0};
inline constexpr Colour ListBlue{82, 82, 169}; // the window's ground and the lists' background
inline constexpr Colour ButtonFace{0, 0, 0, true};
} // namespace Colours

enum class MessageButtons { Ok, OkCancel, YesNo };
enum class MessageIcon { None, Information, Warning, Critical };
enum class MessageResult { Ok, Cancel, Yes, No };

enum class FileDialog { Open, Save };

class MainView
{
public:
    virtual ~MainView() = default;

    // Caption of a button, check box or label; the text of the entry box.
    virtual void setText(Control control, const QString &text) = 0;
    virtual QString text(Control control) const = 0;
    virtual void setToolTip(Control control, const QString &text) = 0;
    virtual void setEnabled(Control control, bool enabled) = 0;
    virtual void setVisible(Control control, bool visible) = 0;
    // Back colour of buttons and lamps; caption colour of check boxes.
    virtual void setBackColour(Control control, Colour colour) = 0;
    virtual void setForeColour(Control control, Colour colour) = 0;
    virtual void setChecked(Control control, bool checked) = 0;
    virtual bool isChecked(Control control) const = 0;
    virtual void setHeightTwips(Control control, int twips) = 0;
    virtual void setFocus(Control control) = 0;
    virtual void selectAllText(Control control) = 0;
    // Paint now: the thread is about to block in an exchange and will not redraw meanwhile.
    virtual void repaintNow(Control control) = 0;

    // Lists: rows are TAB-separated texts, numbered from 0. Setting the current row scrolls it
    // into view and does not raise the list's click notification.
    virtual void setColumnWidths(Control list, const QList<int> &widths) = 0;
    virtual void clearRows(Control list) = 0;
    virtual void addRow(Control list, const QString &text) = 0;
    virtual int rowCount(Control list) const = 0;
    virtual void setRowText(Control list, int row, const QString &text) = 0;
    virtual void setRowColour(Control list, int row, Colour colour) = 0;
    virtual int currentRow(Control list) const = 0; // -1 when no row is selected
    virtual void setCurrentRow(Control list, int row) = 0;

    // Secondary windows: shown, or hidden but kept.
    virtual void showWindow(Window window, bool shown) = 0;

    // Modal message box; returns the pressed button (closing the box counts as Cancel or No).
    virtual MessageResult messageBox(const QString &text, const QString &title,
                                     MessageButtons buttons, MessageIcon icon,
                                     MessageResult defaultButton) = 0;
    // Open or save dialog; "" when the operator cancels.
    virtual QString chooseFile(FileDialog kind, const QString &title, const QString &filter) = 0;

    // Let pending window events run (a click on "Cancel" during a read-back).
    virtual void processEvents() = 0;
    // A load or a read-back holds the thread from beginBlocking to endBlocking: no event is
    // served in between except through processEvents, so the view paints what changes at once.
    // At the end, the input that queued meanwhile is served while the controls it went to are
    // still greyed, and so does nothing. Each attempt of the probe for the tally system is one
    // too, also when the operator is asked whether to retry.
    virtual void beginBlocking() = 0;
    virtual void endBlocking() = 0;
    virtual void beep() = 0;
};
