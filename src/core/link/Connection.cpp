// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "link/Connection.h"

#include "model/NumberText.h"

using namespace Qt::StringLiterals;

Connection::Connection(SystemModel &model, MainView &view, CommandChannel &channel, Pause pause)
    : m_model(model), m_view(view), m_channel(channel), m_pause(std::move(pause))
{
}

void Connection::enableOnlineControls(bool enabled)
{
    for (Control c : OnlineOnlyControls)
        m_view.setEnabled(c, enabled);
}

bool Connection::GoOnline()
{
    bool result = false;
    for (bool done = false; !done;) {
        m_view.beginBlocking();
        m_channel.SendCommand(QString()); // clears whatever half line the tally system holds
        if (m_channel.SendCommand(u"\rVER"_s)) {
            m_pause(SettleTime);
            m_model.Online = true;
            result = true;
            done = true;
            m_view.endBlocking(); // before the greyed controls come back
            enableOnlineControls(true);
            m_view.setText(Control::cmdOnline, u"Online"_s);
            m_view.setBackColour(Control::cmdOnline, Colours::Green);
            GetVersion();
            continue;
        }
        const MessageResult retry = m_view.messageBox(
            u"No Communications to Tally system\r\nDo you want to retry?"_s,
            u"Communication Error"_s, MessageButtons::YesNo, MessageIcon::None, MessageResult::Yes);
        if (retry == MessageResult::Yes) {
            m_view.setText(Control::lblError, QString());
        } else {
            GoOffline();
            m_view.messageBox(u"Going To Offline Mode"_s, u"Communication Error"_s,
                              MessageButtons::Ok, MessageIcon::None, MessageResult::Ok);
            done = true;
        }
        m_view.setText(Control::lblError, QString());
        m_model.Online = false;
        result = false;
        // Only after the dialogs: their loop served what queued during the probe, and a window
        // that a modal box blocks takes no input.
        m_view.endBlocking();
    }
    MakeInfoString();
    return result;
}

void Connection::GoOffline()
{
    m_model.Online = false;
    enableOnlineControls(false);
    m_view.setText(Control::cmdOnline, u"OFFLINE"_s);
    m_view.setBackColour(Control::cmdOnline, Colours::LightRed);
}

void Connection::cmdOnline_Click()
{
    m_view.setText(Control::lblError, QString());
    if (m_model.Online) {
        GoOffline();
        return;
    }
    m_view.messageBox(u"You have chosen to go Online\r\n"
                      u"Mappings displayed may not agree with current Tally System Mappings"_s,
                      u"Information!"_s, MessageButtons::Ok, MessageIcon::None, MessageResult::Ok);
    GoOnline();
}

void Connection::GetVersion()
{
    m_channel.SendCommand(QString());
    m_channel.SendCommand(QString());
    m_channel.SendCommand(u"VER"_s);
    const QString &reply = m_model.IBuffer;
    const qsizetype pos = reply.indexOf(u"MAIN"_s, 0, Qt::CaseSensitive) + 1; // from 1; 0: none
    const qsizetype len = reply.size();
    if (len >= 5 && pos >= 1) {
        // Up to the last character, the terminator of a complete reply.
        m_model.MainCPUVersion = reply.mid(pos - 1, len - pos);
        // Also throws away what is left of a version text cut short at its decimal point.
        m_channel.SendCommand(QString());
        m_channel.SendCommand(QString());
    } else {
        m_model.MainCPUVersion = u"MAINV0"_s;
    }
}

QString Connection::VersionText()
{
    return u"Version "_s + NumberField(VersionMajor) + u"."_s + NumberField(VersionMinor) + u"."_s +
           NumberField(VersionPatch) +
           u"\nKestrel configurator: routing and test of the Kestrel tally system"_s;
}

void Connection::MakeInfoString()
{
    const QString gap = u"   "_s;
    m_model.InfoString = m_model.MainCPUVersion + gap + u"V"_s + NumberField(VersionMajor) +
                         u"."_s + NumberField(VersionMinor) + gap + m_model.SystemName + gap +
                         u"Com"_s + NumberField(m_model.KestrelCommport);
    m_view.setToolTip(Control::lblVersionInfo, VersionText());
    m_view.setToolTip(Control::lblMainVersionInfo, m_model.InfoString);
}
