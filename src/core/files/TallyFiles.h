// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "model/SystemModel.h"
#include "view/MainView.h"

class Clearing;
class DeviceCommands;
class Mapping;
class MatrixLists;
class ReadBack;

// "Load" replaces the matrix; "Partial Load" adds to it.
enum class LoadMode { Full, Part };

// "Save", "Load" and "Partial Load": the matrix to and from tally files. Online, a save reads
// the tally system's table first and a load sends every mapping; offline both work on the model.
class TallyFiles
{
public:
    static constexpr int MaxFields = TableSize; // RawMap 0..999

    TallyFiles(SystemModel &model, MainView &view, Mapping &mapping, ReadBack &readBack,
               DeviceCommands &device, Clearing &clearing, MatrixLists &lists);

    void cmdLoadMatrix_Click();
    void cmdPartLoadMatrix_Click();
    void cmdSaveMatrix_Click();

    // False when the file could not be read; the operator has been told and nothing changed.
    bool LoadMatrixMappings(const QString &path, LoadMode mode);
    // False when the file could not be written; the operator has been told.
    bool SaveAllMappings(const QString &path);
    // The lines a save writes: online the tally system's table as read back, offline the
    // model's map strings in output order. For writers other than a file (standard output).
    QStringList SavedLines();

    QString GetOpenTallyFileName();
    QString GetSaveTallyFileName();

private:
    void load(LoadMode mode);
    void fileError(const QString &what, const QString &path, const QString &reason);

    SystemModel &m_model;
    MainView &m_view;
    Mapping &m_mapping;
    ReadBack &m_readBack;
    DeviceCommands &m_device;
    Clearing &m_clearing;
    MatrixLists &m_lists;
};
