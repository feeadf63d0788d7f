// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <array>

// The one body of state of the configurator. Plain data: the operations of the tool read and
// write these fields directly, under the names the rest of the code and the operators' notes
// use. One owner (the application) for the life of the process.

inline constexpr int TableSize = 1000;     // indices 0..999 of every table
inline constexpr int MaxDeclared = 999;    // outputs 1..999, inputs 0..999
inline constexpr int MaxEnabledUnits = 50; // EnabledUnitList entries 1..50

struct SystemModel
{
    // Description part, filled once from Kestrel.ini.
    std::array<QString, TableSize> OutputName{};
    std::array<qint16, TableSize> OutputUnit{};
    std::array<qint16, TableSize> OutputChannel{};
    std::array<QString, TableSize> InputName{};
    std::array<qint16, TableSize> InputUnit{};
    std::array<qint16, TableSize> InputChannel{};
    qint16 NumberOfOutputs = 0;
    qint16 NumberOfInputs = 0;
    QString SystemName;
    quint8 KestrelCommport = 0;
    QString CommDevice; // optional device path used instead of the numbered port
    QString EnabledUnitsText;
    std::array<qint16, MaxEnabledUnits + 1> EnabledUnitList{}; // entry 0 unused
    qint16 EnabledUnitCount = 0;

    // Mapping part.
    std::array<QString, TableSize> OutputMap{};
    std::array<QString, TableSize> OutputSource{};
    std::array<QString, TableSize> OutputBoolSource{};
    std::array<bool, TableSize> OutputTestOn{};
    std::array<QString, TableSize> RawMap{};
    qint16 MapStrings = 0;

    // Link state and the texts of the last exchange.
    bool Online = false;
    QString IBuffer;
    QString Response;
    QString MainCPUVersion;
    QString InfoString;
    QString UnitBits;
    bool DownloadActive = false;

    // The map string being composed and the register of the map string last parsed.
    QString CurrentMapstring;
    qint16 CurrentOutUnit = 0;
    qint16 CurrentOutChannel = 0;
    qint16 CurrentInUnit = 0;
    qint16 CurrentInChannel = 0;
    qint16 CurrentMapEnable = 0;
    qint16 CurrentBooleanInUnit = 0;
    qint16 CurrentBooleanInChannel = 0;
    qint16 CurrentBooleanMode = 0;

    // Shared scratch index of the lookups; callers keep the index found in it.
    int Z = 0;
};

// True for an index that addresses a table entry.
constexpr bool InTable(int index) { return index >= 0 && index < TableSize; }
