// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "matrix/MapString.h"
#include "model/SystemModel.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// A tally file against the tally system's table, output by output. An output's mapping is its
// first input, and for AND and OR its second input and the mode; the enable flag belongs to
// the output test and is not compared. An input unit below 1 means no mapping, as it does for
// the load. Outputs are told apart by unit and channel, so that outputs Kestrel.ini does not
// declare are compared too; they are named by Kestrel.ini where it knows them.
class MatrixComparison
{
public:
    struct Output
    {
        qint16 unit = 0;
        qint16 channel = 0;
        std::optional<MapFields> wanted; // the file's last line for it; none: not in the file
        std::optional<MapFields> held;   // the table's last row for it; none: no row
        int line = 0;                    // the file's line for it, from 1; 0: none
    };

    // The lines of a tally file; false when one is not a map string this program can send
    // (exactly eight bracketed numbers, an output unit of 1 to 999, units and channels 0 to
    // 999, mode 0, 1 or 2).
    static bool parse(const QStringList &lines, QList<MapFields> *maps, QString *error);

    // `model` names the outputs and inputs and holds the table read back (RawMap rows 1 to
    // MapStrings).
    explicit MatrixComparison(SystemModel &model);

    // Every output that the file, the table or Kestrel.ini knows: declared outputs in their
    // order, then the others by unit and channel. With `fileOnly`, only those in the file.
    QList<Output> outputs(const QList<MapFields> &file, bool fileOnly) const;
    // The outputs whose mapping differs.
    QList<Output> differences(const QList<MapFields> &file, bool fileOnly) const;

    static bool isMapped(const std::optional<MapFields> &map);
    static bool same(const std::optional<MapFields> &a, const std::optional<MapFields> &b);

    // One line of the report: the output, what the file wants and what the device holds.
    QString describe(const Output &output) const;

private:
    QString outputName(qint16 unit, qint16 channel) const;
    QString inputName(qint16 unit, qint16 channel) const;
    QString mappingText(const std::optional<MapFields> &map) const;

    SystemModel &m_model;
};
