// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Files.h"

#include <QProcess>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

// kestrel-sim running for one test, its link and table file in a temporary folder.
struct SimProcess
{
    ~SimProcess()
    {
        process.kill();
        process.waitForFinished();
    }
    bool start(const QStringList &extra, const QByteArray &rows = {})
    {
        process.start(QString::fromUtf8(KESTREL_SIM_PATH),
                      QStringList{u"--link"_s, link(), u"--state"_s, path("table.qvr"), u"--rows"_s,
                                  writeFile(path("rows.qvr"), rows), u"--baud"_s, u"0"_s} +
                          extra);
        // It writes the port's path once the link and the table file are in place.
        return process.waitForReadyRead(5000) && QFile::exists(link());
    }
    QString path(const char *name) const { return dir.filePath(QString::fromLatin1(name)); }
    QString link() const { return path("tty"); }
    // The tally system's table as it stands, holes included: one map string per row.
    QStringList table() const
    {
        return QString::fromLatin1(readFile(path("table.qvr")))
            .split(u"\r\n"_s, Qt::SkipEmptyParts);
    }
    QTemporaryDir dir;
    QProcess process;
};
