// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "model/SystemModel.h"

#include <QString>

// Reads "Kestrel.ini" from the program directory into the description part of the model.
class SystemDescription
{
public:
    // How the last IniRead went: read, or why not.
    enum class Outcome {
        Read,
        Missing,    // no such path
        NotAFile,   // a folder, a device or a pipe
        TooLarge,   // above MaxFileBytes
        Unreadable, // could not be opened or read
        NoSystem,   // read, but no System value in [Kestrel]
    };

    static constexpr qint64 MaxFileBytes = 64 * 1024 * 1024;

    explicit SystemDescription(const QString &programDir);
    // A description file named by its path, whatever its name (the command line's --ini).
    static SystemDescription fromFile(const QString &filePath);

    // True when the key System has a value; then the description part of `model` is filled
    // (entries beyond the tables' limit are left out, see limitWarning). False leaves `model`
    // untouched: the file is missing, unreadable, or names no System.
    bool IniRead(SystemModel &model);

    // Splits model.EnabledUnitsText into EnabledUnitList / EnabledUnitCount.
    static void ParseEnabledUnits(SystemModel &model);

    QString filePath() const;
    Outcome outcome() const { return m_outcome; }

    // After IniRead: a text for the operator when the file declares more outputs or inputs
    // than the tables hold; "" when everything was read.
    const QString &limitWarning() const { return m_limitWarning; }

private:
    bool fail(Outcome why);

    QString m_filePath;
    QString m_limitWarning;
    Outcome m_outcome = Outcome::Missing;
};
