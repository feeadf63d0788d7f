// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "gui/Configurator.h"

#include "config/SystemDescription.h"
#include "gui/MainWindow.h"
#include "gui/TallyList.h"
#include "gui/Twips.h"
#include "gui/WindowOutline.h"
#include "link/SerialPort.h"
#include "model/NumberText.h"

#include <QAbstractButton>
#include <QKeyEvent>
#include <QLineEdit>

#include <chrono>
#include <cstdio>

Configurator::Configurator(SystemModel &model, MainWindow &window, SerialPort &port,
                           MonotonicClock clock, Pause pause)
    : m_model(model), m_window(window), m_port(port), m_unitWindow(&window),
      m_logic(model, window, port, std::move(clock), std::move(pause))
{
    m_logic.addSecondaryViews(m_unitWindow, m_advancedWindow);
    wire();
}

void Configurator::wire()
{
    auto clicked = [this](Control c, auto handler) {
        connect(m_window.button(c), &QAbstractButton::clicked, this, handler);
    };
    clicked(Control::Check3, [this] { m_logic.lists.Check3_Click(); });
    clicked(Control::cmdMapIt, [this] { m_logic.selection.cmdMapIt_Click(); });
    clicked(Control::cmdBoolAnd, [this] { m_logic.selection.cmdBool_Click(AndMapping); });
    clicked(Control::cmdBoolOr, [this] { m_logic.selection.cmdBool_Click(OrMapping); });
    clicked(Control::cmdOnline, [this] { m_logic.connection.cmdOnline_Click(); });
    clicked(Control::cmdRefresh, [this] {
        m_logic.readBack.cmdRefresh_Click();
        tellIfReadBackCut();
    });
    clicked(Control::cmdInit, [this] { m_logic.clearAll.cmdInit_Click(); });
    clicked(Control::cmdCancelDownload, [this] { m_logic.channel.cmdCancelDownload_Click(); });
    clicked(Control::cmdLoadMatrix, [this] { m_logic.files.cmdLoadMatrix_Click(); });
    clicked(Control::cmdPartLoadMatrix, [this] { m_logic.files.cmdPartLoadMatrix_Click(); });
    clicked(Control::cmdSaveMatrix, [this] {
        m_logic.files.cmdSaveMatrix_Click(); // online, a read-back first
        tellIfReadBackCut();
    });

    TallyList *outputs = m_window.list(Control::List1);
    connect(outputs, &TallyList::rowClicked, this, [this] { m_logic.selection.List1_Click(); });
    connect(outputs, &TallyList::keyDown, this, [this](QKeyEvent *e, bool *handled) {
        *handled = m_logic.held.List1_KeyDown(e->key(), e->modifiers());
    });
    connect(outputs, &TallyList::keyUp, this,
            [this](QKeyEvent *e) { m_logic.held.List1_KeyUp(e->key(), e->isAutoRepeat()); });
    // The read-out always names the selected output, however the selection moved.
    connect(outputs, &TallyList::currentRowChanged, this,
            [this] { m_logic.selection.GetOutChannel(); });

    // The entry box and the input read-out follow the input list however its row moved: a
    // click, a drag across rows, a right button, the keyboard, or the program.
    TallyList *inputs = m_window.list(Control::list2);
    connect(inputs, &TallyList::rowClicked, this, [this] { m_logic.selection.list2_Click(); });
    connect(inputs, &TallyList::currentRowChanged, this,
            [this] { m_logic.selection.list2_Click(); });
    connect(inputs, &TallyList::rowDoubleClicked, this,
            [this] { m_logic.selection.list2_DblClick(); });
    connect(inputs, &TallyList::mouseReleased, this, [this] { m_logic.selection.list2_MouseUp(); });

    QLineEdit *entry = m_window.entry();
    connect(entry, &QLineEdit::textChanged, this, [this] { m_logic.entry.txtInput_Change(); });
    for (Control c : {Control::List1, Control::txtInput, Control::cmdTest, Control::chkTest})
        m_window.control(c)->installEventFilter(this);

    // The secondary windows: "Unit Status" and "Advanced" open them, their close boxes untick.
    m_window.registerWindow(Window::frmUnitBits, &m_unitWindow);
    m_window.registerWindow(Window::frmVerbose, &m_advancedWindow);
    clicked(Control::Check1, [this] { m_logic.unitStatus->Check1_Click(); });
    clicked(Control::Check2, [this] { m_logic.advanced->Check2_Click(); });
    connect(m_unitWindow.closeButton(), &QAbstractButton::clicked, this,
            [this] { m_logic.unitStatus->cmdClose_Click(); });
    connect(&m_unitWindow, &UnitStatusWindow::UpDown1Changed, this,
            [this] { m_logic.unitStatus->UpDown1_Change(); });
    connect(&m_unitWindow, &UnitStatusWindow::unloading, this,
            [this] { m_logic.unitStatus->Form_Unload(); });
    connect(m_advancedWindow.sendButton(), &QAbstractButton::clicked, this,
            [this] { m_logic.advanced->cmdDirectCommand_Click(); });
    connect(&m_advancedWindow, &AdvancedWindow::commandEntered, this,
            [this] { m_logic.advanced->txtDirectCommand_KeyPress(AdvancedConsole::EnterKey); });
    connect(&m_advancedWindow, &AdvancedWindow::unloading, this,
            [this] { m_logic.advanced->Form_Unload(); });

    connect(&m_window, &MainWindow::unloading, this, [this] { Form_Unload(); });
}

bool Configurator::eventFilter(QObject *watched, QEvent *event)
{
    const QEvent::Type type = event->type();
    const bool press = type == QEvent::MouseButtonPress || type == QEvent::MouseButtonDblClick;
    const bool input = press || type == QEvent::MouseButtonRelease || type == QEvent::KeyPress ||
                       type == QEvent::KeyRelease;
    // Event filters see mouse and key events even on a disabled widget, which then drops them:
    // a greyed control never acts.
    if (input && !static_cast<QWidget *>(watched)->isEnabled())
        return false;
    if (watched == m_window.control(Control::List1)) {
        if (type == QEvent::FocusOut)
            m_logic.held.List1_LostFocus();
        return false;
    }

    if (watched == m_window.control(Control::txtInput)) {
        if (type == QEvent::KeyPress) {
            auto *key = static_cast<QKeyEvent *>(event);
            return m_logic.entry.txtInput_KeyDown(key->key(), key->modifiers());
        }
        if (type == QEvent::MouseButtonRelease) // after the line edit placed its cursor
            QMetaObject::invokeMethod(
                this, [this] { m_logic.entry.txtInput_Click(); }, Qt::QueuedConnection);
        return false;
    }

    if (watched == m_window.control(Control::cmdTest)) {
        // The second press of a double click comes as a double-click event.
        if (press)
            m_logic.held.cmdTest_MouseDown();
        else if (type == QEvent::MouseButtonRelease)
            m_logic.held.cmdTest_MouseUp();
        return false;
    }

    if (watched == m_window.control(Control::chkTest)) {
        // The latch box shows only what the test set: its own toggling is kept away. Every
        // press toggles, the second of a double click too.
        switch (type) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonDblClick:
            m_logic.test.TestLatchChange();
            m_window.setFocus(Control::List1);
            return true;
        case QEvent::MouseButtonRelease:
        case QEvent::KeyRelease:
            return true;
        case QEvent::KeyPress: {
            const int k = static_cast<QKeyEvent *>(event)->key();
            if (k == Qt::Key_Return || k == Qt::Key_Enter)
                m_logic.test.TestLatchChange();
            return k != Qt::Key_Tab && k != Qt::Key_Backtab;
        }
        default:
            return false;
        }
    }
    return false;
}

void Configurator::tellPortConflict()
{
    const QString why = m_port.openFailure();
    if (why.isEmpty())
        return;
    std::fprintf(stderr, "kestrel: Port Conflict: %s\n", why.toLocal8Bit().constData());
    std::fflush(stderr);
}

void Configurator::tellIfReadBackCut()
{
    // The status line is too narrow for the notice, and the next exchange clears it: the
    // operator is told in a box instead.
    if (m_window.text(Control::lblError) != ReadBack::LimitText())
        return;
    m_window.setText(Control::lblError, QString());
    m_window.messageBox(ReadBack::LimitText(), QStringLiteral("Read Back"), MessageButtons::Ok,
                        MessageIcon::Information, MessageResult::Ok);
}

bool Configurator::Form_Load(const QString &programDir)
{
    m_window.applyOutline(WindowOutline::BuildWindowRegion(
        1.0f, 1.0f, 0, 0, Twips::forWidget(&m_window).pixelsPerDesignUnit()));

    m_model.MainCPUVersion.clear();
    m_window.setText(Control::lblError, QString());
    m_model.DownloadActive = false;
    m_model.MapStrings = 0;
    m_window.setText(Control::lblFileName, QString());

    SystemDescription description(programDir);
    if (!description.IniRead(m_model)) {
        m_window.messageBox(
            QStringLiteral("Cannot locate Kestrel.ini file in program directory\r\n"
                           "Please aquire a Kestrel.ini file for this tally system and copy it "
                           "into the program directory"),
            QStringLiteral("File Missing"), MessageButtons::OkCancel, MessageIcon::None,
            MessageResult::Ok);
        return false;
    }
    if (!description.limitWarning().isEmpty()) {
        m_window.messageBox(description.limitWarning(), QStringLiteral("Kestrel.ini"),
                            MessageButtons::Ok, MessageIcon::Warning, MessageResult::Ok);
    }
    m_logic.lists.FillLists();
    m_port.PortSetNumber(m_model.KestrelCommport);
    m_port.PortSetDevice(m_model.CommDevice);

    for (Control list : {Control::List1, Control::list2, Control::list3})
        m_window.setCurrentRow(list, 0);
    m_window.setHeightTwips(Control::list2, MatrixLists::List2TallTwips);

    m_window.show();

    if (!m_port.PortOpen()) {
        tellPortConflict();
        m_window.messageBox(QStringLiteral("The Serial Com port") +
                                NumberField(m_model.KestrelCommport) +
                                QStringLiteral("\rIs not available\rPlease correct and try again"),
                            QStringLiteral("Port Conflict"), MessageButtons::Ok,
                            MessageIcon::Information, MessageResult::Ok);
        m_logic.connection.GoOffline();
    }
    if (m_logic.connection.GoOnline()) {
        m_logic.readBack.SyncWithKestrel();
        tellIfReadBackCut(); // before the version takes the status line
        // The version ends where the reply's line would; its line end is not shown.
        QString version = m_model.MainCPUVersion;
        while (version.endsWith(QLatin1Char('\n')) || version.endsWith(QLatin1Char('\r')))
            version.chop(1);
        m_window.setText(Control::lblError, version);
    }

    m_logic.selection.GetOutChannel(); // the read-out names the selected output from the start
    m_window.setFocus(Control::List1);
    return true;
}

void Configurator::Form_Unload()
{
    // Unloading them as their close boxes would: the poll stops and the boxes are unticked.
    if (m_window.isChecked(Control::Check2))
        m_logic.advanced->Form_Unload();
    if (m_logic.unitStatus->isLoaded())
        m_logic.unitStatus->Form_Unload();
    m_window.showWindow(Window::frmVerbose, false);
    m_window.showWindow(Window::frmUnitBits, false);
}

void Configurator::Form_Terminate()
{
    m_port.PortClose();
    Form_Unload();
}
