// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "model/SystemModel.h"
#include "view/MainView.h"

class CommandChannel;
class ReadBack;

// Lighting one output by hand: press-and-hold ("Test", Space) or latched ("Latch"). The
// commands go to the unit and channel shown for the selected output.
class OutputTest
{
public:
    OutputTest(SystemModel &model, MainView &view, CommandChannel &channel, ReadBack &readBack);

    void TestOn(int Output);
    void TestOff(int Output);
    void TestLatchChange();

private:
    // " 3  12": the shown output's unit and channel as the commands take them.
    QString shownOutput() const;

    SystemModel &m_model;
    MainView &m_view;
    CommandChannel &m_channel;
    ReadBack &m_readBack;
};
