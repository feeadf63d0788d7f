// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "model/SystemModel.h"
#include "view/MainView.h"

// The three lists of the main window: filling them from the description, the text of each
// output row, moving to the next output, the download bracket and the "Boolean" layout.
class MatrixLists
{
public:
    // Heights of the input list in the two layouts, in twips.
    static constexpr int List2TallTwips = 4110;
    static constexpr int List2ShortTwips = 1950;

    MatrixLists(SystemModel &model, MainView &view);

    void FillLists();
    // Redraws the row of output `OutputListPointer` (1..NumberOfOutputs) from its map string.
    void ShowMappingInList(int OutputListPointer);
    // Redraws every output row, with the list hidden so that it is drawn once.
    void UpdateListBox1();
    void ScrollOutputList();
    // False at the start of a download, True at its end.
    void EnableControls(bool Enabled);
    // The "Boolean" box switches between the normal and the boolean layout.
    void Check3_Click();

private:
    SystemModel &m_model;
    MainView &m_view;
};
