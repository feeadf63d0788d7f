// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "model/SystemModel.h"
#include "view/MainView.h"

#include <QTimer>

#include <chrono>

class OutputTest;
class SelectionEvents;

// Press-and-hold tests: which output the held Space key or the held "Test" button started,
// until its release ends that test. The window system's word on a key's release is not
// trusted: a held key repeats as release and press pairs, which some servers deliver as real
// ones. A release of Space counts only when no press of Space follows within the grace.
class HeldTest
{
public:
    enum class Source { Space, Button };

    // Longer than one key repeat interval at the usual rates (25 to 40 a second), with room for
    // a busy machine's delay between a repeat's release and its press.
    static constexpr std::chrono::milliseconds Grace{150};

    HeldTest(SystemModel &model, MainView &view, OutputTest &test, SelectionEvents &selection);

    // The output list's keys: Space starts a held test on the selected output (its handler in
    // SelectionEvents lights it), any other key first takes a waiting release of Space. True
    // when the key was used.
    bool List1_KeyDown(int key, Qt::KeyboardModifiers modifiers);
    // A release the window system marks as a repeat's is one; one it marks as real may still
    // be, and the grace decides.
    void List1_KeyUp(int key, bool autoRepeat);
    // Space held while the list loses the focus: its release goes elsewhere, so the test ends.
    void List1_LostFocus() { lost(Source::Space); }
    // The "Test" button is lit while a mouse button holds it down (the second press of a double
    // click is a press all the same), on the output under the cursor.
    void cmdTest_MouseDown();
    void cmdTest_MouseUp() { released(Source::Button); }

    // The key or button went down on `output` (the test itself is started by its handler). A
    // press of Space while its release waits takes that release back: the key was held.
    void pressed(Source source, int output);
    // The button's release ends its test at once; the key's once the grace has passed.
    void released(Source source);
    // The release will not come here (the list lost the focus): the test ends now.
    void lost(Source source);
    // A release that waits is taken now, before any other operator action.
    void settle();

    bool releaseWaiting() const { return m_releaseWaiting; }

private:
    // TestOff for the output the hold started on, addressed as the read-out names that output.
    void end(int output);

    SystemModel &m_model;
    MainView &m_view;
    OutputTest &m_test;
    SelectionEvents &m_selection;
    QTimer m_releaseTimer;
    bool m_releaseWaiting = false;
    // The outputs held by Space and by the button (0: none).
    int m_held[2] = {};
};
