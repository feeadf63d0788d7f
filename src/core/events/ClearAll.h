// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "link/DeviceCommands.h"
#include "matrix/Clearing.h"
#include "matrix/MatrixLists.h"
#include "model/SystemModel.h"
#include "view/MainView.h"

// The "Clear All" button: the tally system and the local tables emptied together.
class ClearAll
{
public:
    ClearAll(SystemModel &model, MainView &view, DeviceCommands &commands, Clearing &clearing,
             MatrixLists &lists);

    // After the operator's confirmation: the tally system initialised (online only), the model
    // and the output list emptied, no tally file named.
    void ResetAndClearAll();
    void cmdInit_Click();

private:
    SystemModel &m_model;
    MainView &m_view;
    DeviceCommands &m_commands;
    Clearing &m_clearing;
    MatrixLists &m_lists;
};
