// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "files/TallyFiles.h"

#include "files/TallyFile.h"
#include "link/DeviceCommands.h"
#include "matrix/Clearing.h"
#include "matrix/Lookup.h"
#include "matrix/MapString.h"
#include "matrix/Mapping.h"
#include "matrix/MatrixLists.h"
#include "matrix/ReadBack.h"
#include "model/NumberText.h"

#include <QFileInfo>

namespace {
const QString Filter = QStringLiteral("Kestrel Tally(*.qvr)");
}

TallyFiles::TallyFiles(SystemModel &model, MainView &view, Mapping &mapping, ReadBack &readBack,
                       DeviceCommands &device, Clearing &clearing, MatrixLists &lists)
    : m_model(model), m_view(view), m_mapping(mapping), m_readBack(readBack), m_device(device),
      m_clearing(clearing), m_lists(lists)
{
}

QString TallyFiles::GetOpenTallyFileName()
{
    return m_view.chooseFile(FileDialog::Open,
                             QStringLiteral("Open Tally file and upload to matrix"), Filter);
}

QString TallyFiles::GetSaveTallyFileName()
{
    return m_view.chooseFile(FileDialog::Save, QStringLiteral("Save Tally Matrix to File"), Filter);
}

void TallyFiles::fileError(const QString &what, const QString &path, const QString &reason)
{
    m_view.messageBox(what + QStringLiteral("\r\n") + path + QStringLiteral("\r\n") + reason,
                      QStringLiteral("File Error"), MessageButtons::Ok, MessageIcon::Warning,
                      MessageResult::Ok);
}

void TallyFiles::load(LoadMode mode)
{
    const QString path = GetOpenTallyFileName();
    if (!path.isEmpty()) {
        // A normal file only: hidden files are not offered.
        if (const QFileInfo file(path); !file.isFile() || file.isHidden()) {
            m_view.messageBox(QStringLiteral("File does not exist"), QStringLiteral("File Error"),
                              MessageButtons::Ok, MessageIcon::Information, MessageResult::Ok);
        } else if (LoadMatrixMappings(path, mode)) {
            m_view.setText(Control::lblFileName, TallyFile::ParseFilename(path));
        }
    }
    m_view.setFocus(Control::List1);
}

void TallyFiles::cmdLoadMatrix_Click() { load(LoadMode::Full); }

void TallyFiles::cmdPartLoadMatrix_Click() { load(LoadMode::Part); }

bool TallyFiles::LoadMatrixMappings(const QString &path, LoadMode mode)
{
    // The whole file is read before anything changes, so that a bad file loses nothing.
    QStringList fields;
    QString error;
    if (!TallyFile::read(path, &fields, &error)) {
        fileError(QStringLiteral("The tally file could not be read:"), path, error);
        return false;
    }
    const qsizetype ignored = fields.size() - MaxFields;
    if (ignored > 0)
        fields = fields.mid(0, MaxFields);

    m_view.setText(Control::lblDownloading, QString());
    m_lists.EnableControls(false);
    if (mode == LoadMode::Full) {
        if (m_model.Online) {
            m_device.SystemInit();
            m_clearing.ClearLocalMaps();
            m_device.EnableUnits();
        } else {
            m_clearing.ClearLocalMaps();
        }
    }

    for (int n = 0; n < fields.size(); ++n) {
        m_model.RawMap[n] = fields[n];
        ParseGetMap(m_model, m_model.RawMap[n]);
        bool ok = true;
        if (m_model.Online) {
            const qint16 ou = m_model.CurrentOutUnit, oc = m_model.CurrentOutChannel;
            const qint16 iu = m_model.CurrentInUnit, ic = m_model.CurrentInChannel;
            ok = m_mapping.SetMapping(ou, oc, iu, ic);
            if (m_model.CurrentBooleanMode != PlainMapping)
                ok = m_mapping.SetBoolMapping(ou, oc, iu, ic, m_model.CurrentBooleanInUnit,
                                              m_model.CurrentBooleanInChannel,
                                              BoolMode(m_model.CurrentBooleanMode));
        }
        if (!ok)
            break;
        m_view.setText(Control::lblDownloading, QStringLiteral("Mapping ") + NumberField(n));
        m_view.repaintNow(Control::lblDownloading); // no events run during a load
        const int o = FindOutputMapping(m_model);
        // With 999 outputs declared an undeclared one would be filed past the tables: skipped.
        if (InTable(o)) {
            m_model.OutputMap[o] = m_model.RawMap[n];
            m_model.Z = FindInputSourceMapping(m_model);
            m_model.OutputSource[o] = QString::number(m_model.Z);
        }
    }

    m_lists.UpdateListBox1();
    m_lists.EnableControls(true);
    if (ignored > 0) {
        m_view.messageBox(QStringLiteral("The tally file holds more than %1 mappings.\r\n"
                                         "The first %1 were loaded; %2 were not.")
                              .arg(MaxFields)
                              .arg(ignored),
                          QStringLiteral("File Error"), MessageButtons::Ok, MessageIcon::Warning,
                          MessageResult::Ok);
    }
    return true;
}

void TallyFiles::cmdSaveMatrix_Click()
{
    if (m_model.Online)
        m_readBack.MapTableCompress();
    const QString path = GetSaveTallyFileName();
    if (!path.isEmpty()) {
        const bool exists = QFileInfo::exists(path);
        if (!exists ||
            m_view.messageBox(QStringLiteral("Do you want to Ovewrwrite existing file"),
                              QStringLiteral("File Already Exists"), MessageButtons::YesNo,
                              MessageIcon::None, MessageResult::No) == MessageResult::Yes) {
            if (SaveAllMappings(path)) {
                m_lists.UpdateListBox1();
                m_view.setText(Control::lblFileName, TallyFile::ParseFilename(path));
            }
        }
    }
    m_view.setFocus(Control::List1);
}

QStringList TallyFiles::SavedLines()
{
    QStringList lines;
    if (m_model.Online) {
        m_readBack.GetAllRawMappings();
        for (int k = 1; k <= m_model.MapStrings && InTable(k); ++k)
            lines << m_model.RawMap[k];
    } else {
        for (int i = 1; i <= m_model.NumberOfOutputs; ++i) {
            if (!m_model.OutputMap[i].isEmpty())
                lines << m_model.OutputMap[i];
        }
    }
    return lines;
}

bool TallyFiles::SaveAllMappings(const QString &path)
{
    const QStringList lines = SavedLines();
    QString error;
    if (!TallyFile::write(path, lines, &error)) {
        fileError(QStringLiteral("The tally file could not be written; any earlier file of that "
                                 "name is unchanged:"),
                  path, error);
        return false;
    }
    return true;
}
