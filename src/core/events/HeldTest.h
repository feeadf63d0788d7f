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

    // `grace`: longer than one key repeat interval and than a busy machine's delay in handing
    // the pair's press on.
    HeldTest(SystemModel &model, MainView &view, OutputTest &test, SelectionEvents &selection,
             std::chrono::milliseconds grace);

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
