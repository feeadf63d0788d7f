// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "events/AdvancedConsole.h"
#include "events/ClearAll.h"
#include "events/HeldTest.h"
#include "events/KeyboardEntry.h"
#include "events/SelectionEvents.h"
#include "events/UnitStatus.h"
#include "files/TallyFiles.h"
#include "link/CommandChannel.h"
#include "link/Connection.h"
#include "link/DeviceCommands.h"
#include "link/LinkTiming.h"
#include "matrix/Clearing.h"
#include "matrix/Mapping.h"
#include "matrix/MatrixLists.h"
#include "matrix/OutputTest.h"
#include "matrix/ReadBack.h"
#include "model/SystemModel.h"
#include "view/MainView.h"
#include "view/SecondaryViews.h"

#include <optional>

class SerialPort;

// The configurator's logic built and joined in one place: the window, kestrelctl, the test rigs
// and the benchmarks all take their parts from here. Each part gets the model, the view and the
// parts it uses; the members are declared in the order those references need.
struct Logic
{
    // The clock times the replies and the pauses let the tally system settle; tests pass their
    // own so that nothing sleeps through them.
    Logic(SystemModel &model, MainView &view, SerialPort &port,
          MonotonicClock clock = SteadyClock(), Pause pause = ThreadPause());
    Logic(const Logic &) = delete;
    Logic &operator=(const Logic &) = delete;

    // The secondary windows' logic, for a front end that shows them; the views must outlive
    // this, or the part be reset before they go.
    void addSecondaryViews(UnitStatusView &unitView, AdvancedView &advancedView);
    UnitStatus &addUnitStatus(UnitStatusView &unitView);

    CommandChannel channel;
    MatrixLists lists;
    Clearing clearing;
    DeviceCommands commands;
    ClearAll clearAll;
    Connection connection;
    ReadBack readBack;
    Mapping mapping;
    OutputTest test;
    SelectionEvents selection;
    KeyboardEntry entry;
    HeldTest held;
    TallyFiles files;
    // Last, so that they go first: they use the channel to the end.
    std::optional<UnitStatus> unitStatus;
    std::optional<AdvancedConsole> advanced;

private:
    SystemModel &m_model;
    MainView &m_view;
};
