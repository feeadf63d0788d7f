// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "matrix/OutputTest.h"

#include "link/CommandChannel.h"
#include "matrix/ReadBack.h"
#include "model/NumberText.h"

OutputTest::OutputTest(SystemModel &model, MainView &view, CommandChannel &channel,
                       ReadBack &readBack)
    : m_model(model), m_view(view), m_channel(channel), m_readBack(readBack)
{
}

QString OutputTest::shownOutput() const
{
    return NumberField(ReadInt16(m_view.text(Control::lblOutUnit))) + QLatin1Char(' ') +
           NumberField(ReadInt16(m_view.text(Control::lblOutChannel)));
}

void OutputTest::TestOn(int Output)
{
    if (Output < 1 || Output > m_model.NumberOfOutputs || m_model.OutputTestOn[Output] ||
        !m_model.Online)
        return;
    m_model.OutputTestOn[Output] = true;
    m_view.setRowColour(Control::List1, Output - 1, Colours::Red);
    m_readBack.GetMapping(ReadInt16(m_view.text(Control::lblOutUnit)),
                          ReadInt16(m_view.text(Control::lblOutChannel)));
    m_view.setBackColour(Control::cmdTest, Colours::Red);
    const QString output = shownOutput();
    m_channel.SendCommand(QStringLiteral("mapdisab") + output);
    m_channel.SendCommand(QStringLiteral("Set") + output);
}

void OutputTest::TestOff(int Output)
{
    if (Output < 1 || Output > m_model.NumberOfOutputs || !m_model.Online ||
        !m_model.OutputTestOn[Output])
        return;
    m_view.setRowColour(Control::List1, Output - 1, Colours::ListBlue);
    m_model.OutputTestOn[Output] = false;
    const QString output = shownOutput();
    m_channel.SendCommand(QStringLiteral("Res") + output);
    m_channel.SendCommand(QStringLiteral("MapEnab") + output);
    m_view.setBackColour(Control::cmdTest, Colours::ButtonFace);
}

void OutputTest::TestLatchChange()
{
    const int i = m_view.currentRow(Control::List1) + 1;
    if (i < 1 || i > m_model.NumberOfOutputs)
        return;
    // The box shows what was asked for, whatever TestOn or TestOff could do (offline nothing).
    if (m_model.OutputTestOn[i]) {
        TestOff(i);
        m_view.setChecked(Control::chkTest, false);
        m_view.setForeColour(Control::chkTest, Colours::Black);
    } else {
        TestOn(i);
        m_view.setChecked(Control::chkTest, true);
        m_view.setForeColour(Control::chkTest, Colours::Red);
    }
}
