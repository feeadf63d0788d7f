// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QFile>
#include <QString>

// The record of every command line received, one text line each: the time of day with
// milliseconds, a blank, and the line with its control characters made visible ("<CR>").
class CommandLog
{
public:
    bool open(const QString &path, QString *error);
    void record(QByteArrayView line);

    // "\rVER" becomes "<CR>VER"; other control and non-ASCII bytes become "<xx>" in hex.
    static QByteArray visible(QByteArrayView line);

private:
    QFile m_file;
};
