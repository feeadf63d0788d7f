// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "events/Logic.h"
#include "gui/AdvancedWindow.h"
#include "gui/UnitStatusWindow.h"
#include "link/LinkTiming.h"
#include "model/SystemModel.h"

#include <QObject>
#include <QSerialPort>
#include <QString>

class MainWindow;
class SerialPort;

// The configurator's logic on one window and one serial port: connects the window's
// notifications to the logic's parts, and runs the load sequence.
class Configurator : public QObject
{
    Q_OBJECT
public:
    // The clock times the replies and the pauses let the tally system settle; tests pass their
    // own so that no window test sleeps through them.
    Configurator(SystemModel &model, MainWindow &window, SerialPort &port,
                 MonotonicClock clock = SteadyClock(), Pause pause = ThreadPause());

    // Reads the description from `programDir`, fills and shows the window, opens the port and
    // tries the link; online, reads the matrix back. False when the program has to end (no
    // usable Kestrel.ini; the operator has been told).
    bool Form_Load(const QString &programDir);

    // The desktop closes the main window: the secondary windows go with it.
    void Form_Unload();
    // The main window is gone: the port is closed.
    void Form_Terminate();

    MatrixLists &lists() { return m_logic.lists; }
    CommandChannel &channel() { return m_logic.channel; }
    DeviceCommands &commands() { return m_logic.commands; }
    ReadBack &readBack() { return m_logic.readBack; }
    UnitStatusWindow &unitStatusWindow() { return m_unitWindow; }
    AdvancedWindow &advancedWindow() { return m_advancedWindow; }

protected:
    // The entry box's keys and clicks, the test button's presses and the latch box.
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void wire();
    // The operator's box says only the port number: the device and the reason go to standard
    // error.
    void tellPortConflict();
    // The read-back stopped at its last row: the operator is told so where it stays in view.
    void tellIfReadBackCut();

    SystemModel &m_model;
    MainWindow &m_window;
    SerialPort &m_port;
    // The secondary windows before the logic that uses them, so that the logic goes first.
    UnitStatusWindow m_unitWindow;
    AdvancedWindow m_advancedWindow;
    Logic m_logic;
};
