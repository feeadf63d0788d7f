// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "events/HeldTest.h"

#include "events/SelectionEvents.h"
#include "matrix/OutputTest.h"

#include <utility>

HeldTest::HeldTest(SystemModel &model, MainView &view, OutputTest &test, SelectionEvents &selection)
    : m_model(model), m_view(view), m_test(test), m_selection(selection)
{
    m_releaseTimer.setSingleShot(true);
    m_releaseTimer.setInterval(Grace);
    // One more turn of the event loop before the release counts: a repeat press that arrived
    // while the thread was busy is then handled first, even if this timer fell due as well.
    QObject::connect(&m_releaseTimer, &QTimer::timeout, &m_releaseTimer,
                     [this] { QTimer::singleShot(0, &m_releaseTimer, [this] { settle(); }); });
}

bool HeldTest::List1_KeyDown(int key, Qt::KeyboardModifiers modifiers)
{
    if (key == Qt::Key_Space)
        pressed(Source::Space, m_view.currentRow(Control::List1) + 1);
    else
        settle(); // the held Space was let go before this key
    return m_selection.List1_KeyDown(key, modifiers);
}

void HeldTest::List1_KeyUp(int key, bool autoRepeat)
{
    if (key != Qt::Key_Space)
        m_selection.List1_KeyUp(key);
    else if (!autoRepeat)
        released(Source::Space);
}

void HeldTest::cmdTest_MouseDown()
{
    const int output = m_view.currentRow(Control::List1) + 1;
    settle();
    pressed(Source::Button, output);
    m_test.TestOn(output);
    m_view.setFocus(Control::List1);
}

void HeldTest::pressed(Source source, int output)
{
    if (source == Source::Space) {
        m_releaseWaiting = false; // the release was a repeat's: the key is still held
        m_releaseTimer.stop();
    }
    int &held = m_held[int(source)];
    if (!held)
        held = output;
}

void HeldTest::released(Source source)
{
    if (source == Source::Button) {
        end(std::exchange(m_held[int(source)], 0));
        return;
    }
    m_releaseWaiting = true;
    m_releaseTimer.start();
}

void HeldTest::lost(Source source)
{
    const bool waiting = source == Source::Space && m_releaseWaiting;
    if (source == Source::Space) {
        m_releaseWaiting = false;
        m_releaseTimer.stop();
    }
    if (m_held[int(source)] || waiting)
        end(std::exchange(m_held[int(source)], 0));
}

void HeldTest::settle()
{
    if (m_releaseWaiting)
        lost(Source::Space);
}

void HeldTest::end(int output)
{
    // The selection may have moved while the key or button was held: the release still ends
    // the test it started.
    const int selected = m_view.currentRow(Control::List1) + 1;
    if (output < 1 || output > m_model.NumberOfOutputs || output == selected) {
        m_test.TestOff(selected);
        return;
    }
    m_view.setText(Control::lblOutUnit, QString::number(m_model.OutputUnit[output]));
    m_view.setText(Control::lblOutChannel, QString::number(m_model.OutputChannel[output]));
    m_test.TestOff(output);
    m_selection.GetOutChannel(); // the read-out names the selected output again
}
