// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "link/CommandChannel.h"
#include "link/DeviceCommands.h"
#include "link/LinkTiming.h"
#include "matrix/Clearing.h"
#include "matrix/MatrixLists.h"
#include "model/SystemModel.h"
#include "view/MainView.h"

#include <QString>

#include <chrono>

// Why a read-back ended.
enum class ReadBackEnd {
    TableEnd,       // a row's reply said the table ends there
    Cancelled,      // the operator's "Cancel"
    RowLimit,       // row LastRow was read and the table did not end there
    FailedExchange, // a row got no usable reply
};

// Reading the tally system's map table back into the model, row by row, with a progress count
// and a "Cancel" button; asking for one output's mapping; compacting the table; "Refresh".
class ReadBack
{
public:
    // Lets the tally system get ready for the stream of requests.
    static constexpr std::chrono::milliseconds StartPause{400};
    // The last table row: RawMap and the output tables end there.
    static constexpr int LastRow = MaxDeclared;

    ReadBack(SystemModel &model, MainView &view, CommandChannel &channel, MatrixLists &lists,
             Clearing &clearing, DeviceCommands &commands, Pause pause = ThreadPause());

    // "GetMap": the reply decoded into the current map string register (zeros when none).
    void GetMapping(qint16 Ounit, qint16 Ochannel);
    // "RawMap": the row's map string, kept in RawMap(Index); "" when no reply line came.
    QString GetRawMapping(qint16 Index);
    // The whole table, filed under its outputs. True only when the operator cancelled; false
    // when the table ended (or no more rows fit). Rows read stay filed in every case.
    bool GetAllRawMappings();
    // How the last GetAllRawMappings ended.
    ReadBackEnd lastEnd() const { return m_lastEnd; }
    // Strict reading, for callers that must not take a bad reply for the table's end: a row
    // counts only when its exchange is complete and its reply whole, with "" or nothing but a
    // map string as its line; anything else ends the read-back as a failed exchange, that row
    // not filed. After row LastRow one more row is asked for, to prove the end. The window
    // reads leniently.
    void setStrict(bool strict) { m_strict = strict; }
    void MapTableCompress();
    // The read-back, then every output row redrawn.
    void SyncWithKestrel();
    // "Refresh".
    void cmdRefresh_Click();

    // What lblError says when the table did not end by row LastRow.
    static QString LimitText();

private:
    SystemModel &m_model;
    MainView &m_view;
    CommandChannel &m_channel;
    MatrixLists &m_lists;
    Clearing &m_clearing;
    DeviceCommands &m_commands;
    Pause m_pause;
    ReadBackEnd m_lastEnd = ReadBackEnd::TableEnd;
    bool m_strict = false;

    bool goodReply() const;
};
