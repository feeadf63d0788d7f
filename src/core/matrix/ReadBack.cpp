// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "matrix/ReadBack.h"

#include "matrix/Lookup.h"
#include "matrix/MapString.h"
#include "model/NumberText.h"

using namespace Qt::StringLiterals;

ReadBack::ReadBack(SystemModel &model, MainView &view, CommandChannel &channel, MatrixLists &lists,
                   Clearing &clearing, DeviceCommands &commands, Pause pause)
    : m_model(model), m_view(view), m_channel(channel), m_lists(lists), m_clearing(clearing),
      m_commands(commands), m_pause(std::move(pause))
{
}

QString ReadBack::LimitText()
{
    return u"Read back stopped at row "_s + QString::number(LastRow) +
           u"; any rows after it were not read"_s;
}

void ReadBack::GetMapping(qint16 Ounit, qint16 Ochannel)
{
    m_channel.SendCommand(u"GetMap"_s + NumberField(Ounit) + u" "_s + NumberField(Ochannel));
    ParseGetMap(m_model, m_model.Response);
}

QString ReadBack::GetRawMapping(qint16 Index)
{
    m_channel.SendCommand(u"RawMap"_s + NumberField(Index));
    if (m_model.Response.isEmpty())
        return QString(); // RawMap and the register keep what they had
    if (InTable(Index))
        m_model.RawMap[Index] = m_model.Response;
    ParseGetMap(m_model, m_model.Response);
    return m_model.Response;
}

bool ReadBack::GetAllRawMappings()
{
    m_model.MapStrings = 0;
    m_clearing.ClearLocalMaps();
    int row = 1;
    m_model.DownloadActive = true;
    m_view.setText(Control::lblDownloading, QString());
    m_lists.EnableControls(false);
    m_view.setVisible(Control::cmdCancelDownload, true);
    bool result = true;
    m_lastEnd = ReadBackEnd::Cancelled;
    m_pause(StartPause);

    while (m_model.DownloadActive) {
        // Where a click on "Cancel" is served; this pass's row is still read.
        m_view.processEvents();
        if (row > LastRow) {
            m_lastEnd = ReadBackEnd::RowLimit;
            if (m_strict) {
                const QString raw = GetRawMapping(static_cast<qint16>(row));
                if (!goodReply())
                    m_lastEnd = ReadBackEnd::FailedExchange;
                else if (raw.isEmpty() || m_model.CurrentOutUnit == 0)
                    m_lastEnd = ReadBackEnd::TableEnd;
            }
            result = false;
            m_model.DownloadActive = false;
            break;
        }
        const QString raw = GetRawMapping(static_cast<qint16>(row));
        const bool good = goodReply();
        if (m_strict && !good) {
            m_lastEnd = ReadBackEnd::FailedExchange;
            result = false;
            m_model.DownloadActive = false;
            break;
        }
        if (raw.isEmpty() || m_model.CurrentOutUnit == 0) {
            result = false; // the end of the table
            m_lastEnd = good ? ReadBackEnd::TableEnd : ReadBackEnd::FailedExchange;
            m_model.DownloadActive = false;
            break;
        }
        m_view.setText(Control::lblDownloading, u"Downloading "_s + NumberField(row));
        const int i = FindOutputMapping(m_model);
        m_model.Z = FindInputSourceMapping(m_model);
        // An undeclared output is filed at NumberOfOutputs + 1, which has no place when 999
        // outputs are declared: the row then stays in RawMap only.
        if (InTable(i)) {
            m_model.OutputSource[i] = QString::number(m_model.Z);
            m_model.OutputMap[i] = raw;
        }
        ++row;
    }

    m_lists.EnableControls(true);
    m_view.setVisible(Control::cmdCancelDownload, false);
    m_model.MapStrings = static_cast<qint16>(row - 1);
    if (m_lastEnd == ReadBackEnd::RowLimit)
        m_view.setText(Control::lblError, LimitText());
    return result;
}

bool ReadBack::goodReply() const
{
    const Exchange &x = m_channel.lastExchange();
    if (!m_strict)
        return x.outcome == ExchangeOutcome::Complete;
    return x.outcome == ExchangeOutcome::Complete && x.whole && x.discarded == 0 &&
           (m_model.Response.isEmpty() || ReadStrictMapFields(m_model.Response));
}

void ReadBack::MapTableCompress() { m_channel.SendCommand(u"Comp"_s); }

void ReadBack::SyncWithKestrel()
{
    GetAllRawMappings();
    m_lists.UpdateListBox1();
}

void ReadBack::cmdRefresh_Click()
{
    // Before sending: the test state is gone even when the tally system does not answer.
    m_clearing.ClearAllTest();
    m_commands.SystemRefresh();
    SyncWithKestrel();
    m_view.setFocus(Control::List1);
}
