// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "WireText.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <map>

// The tally system itself, without its line: the map table, the units' enable flags and lit
// channels, and the interpreter of one command line. Rows are numbered from 1; a row whose
// eight fields are all 0 is a hole, left by "ClrMap" until "Comp" closes it.
class TallySystem
{
public:
    static constexpr int ChannelsPerUnit = 32;
    // The configurator reads at most 999 rows back, so a longer table could not be shown.
    static constexpr int MaxRows = 999;

    struct Answer
    {
        QByteArray line; // the reply line, without CR LF; never holds "." except for "VER"
        bool tableChanged = false;
    };

    // Interprets one command line (without its line end). CRs inside it are ignored.
    Answer execute(QByteArrayView line);

    // Replaces the table with the rows of a tally file (one map string per line, empty lines
    // skipped; each must be exactly as WriteMapRow writes it). On failure the table is
    // unchanged and `error` says why.
    bool loadRows(QByteArrayView text, QString *error);

    // The table as a tally file: every row, holes included, each followed by CR LF.
    QByteArray tallyText() const;

private:
    struct Unit
    {
        bool enabled = false;
        quint32 lit = 0; // bit k-1 is channel k
    };
    using Numbers = QList<qint16>;

    Answer map(const Numbers &n);
    Answer boolMap(const Numbers &n, qint16 mode);
    Answer clearMap(const Numbers &n);
    Answer rawMap(const Numbers &n) const;
    Answer getMap(const Numbers &n) const;
    Answer compact();
    Answer init();
    Answer enableUnit(const Numbers &n);
    Answer setMapEnable(const Numbers &n, qint16 flag);
    Answer light(const Numbers &n, bool on);
    Answer refresh();
    Answer bits(const Numbers &n) const;
    Answer status(const Numbers &n) const;

    // Index of the row that drives the output, or -1. With duplicates (possible only from a
    // preloaded file) the last one counts, as the configurator's read-back files it last.
    qsizetype rowOf(qint16 unit, qint16 channel) const;

    QList<MapRow> m_rows;
    std::map<qint16, Unit> m_units;
};
