// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "cli/ConsoleSession.h"

#include "cli/Console.h"
#include "cli/MatrixComparison.h"
#include "config/SystemDescription.h"
#include "files/TallyFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>

#include <unistd.h>

using namespace Qt::StringLiterals;

ConsoleSession::ConsoleSession(Console &console, ConsoleView &view)
    : m_console(console), m_view(view), m_model(std::make_unique<SystemModel>()),
      m_channel(*m_model, view, m_port), m_lists(*m_model, view), m_clearing(*m_model, view),
      m_commands(*m_model, m_channel), m_connection(*m_model, view, m_channel),
      m_readBack(*m_model, view, m_channel, m_lists, m_clearing, m_commands),
      m_mapping(*m_model, view, m_channel, m_commands, m_lists),
      m_files(*m_model, view, m_mapping, m_readBack, m_commands, m_clearing, m_lists)
{
}

bool ConsoleSession::describe(const QString &iniPath, QString *error)
{
    SystemDescription description = SystemDescription::fromFile(iniPath);
    if (!description.IniRead(*m_model)) {
        if (!QFileInfo(iniPath).isFile())
            *error = u"no Kestrel.ini at %1 (--ini names another)"_s.arg(iniPath);
        else if (QFile file(iniPath); !file.open(QIODevice::ReadOnly))
            *error = u"cannot read %1: %2"_s.arg(iniPath, file.errorString());
        else
            *error = u"%1 is no Kestrel.ini: it names no System in [Kestrel]"_s.arg(iniPath);
        return false;
    }
    if (!description.limitWarning().isEmpty())
        m_console.note(QString(description.limitWarning()).replace(u"\r\n"_s, u" "_s));
    m_lists.FillLists();
    for (Control list : {Control::List1, Control::list2, Control::list3})
        m_view.setCurrentRow(list, 0);
    return true;
}

QString ConsoleSession::holderOf(const QString &path)
{
    // Qt Serial Port, which the window uses too, locks a port with a lock file named after
    // it in the first of these folders it can write to; the file names the holder.
    QString name = path.startsWith(u"/dev/"_s) ? path.mid(5) : path;
    name = u"LCK.."_s + name.replace(u'/', u'_');
    for (const char *dir : {"/var/lock", "/etc/locks", "/var/spool/locks", "/var/spool/uucp",
                            "/tmp", "/var/tmp", "/var/lock/lockdev", "/run/lock"}) {
        const QString lockPath = QDir(QString::fromLatin1(dir)).filePath(name);
        qint64 pid = 0;
        QString host;
        QString program;
        if (QFileInfo::exists(lockPath) && QLockFile(lockPath).getLockInfo(&pid, &host, &program))
            return u"%1 (process %2)"_s.arg(program.isEmpty() ? u"a program"_s : program).arg(pid);
    }
    return {};
}

bool ConsoleSession::open(const QString &device, QString *error)
{
    m_port.PortSetNumber(m_model->KestrelCommport);
    m_port.PortSetDevice(device.isEmpty() ? m_model->CommDevice : device);
    if (m_port.PortOpen())
        return true;
    if (m_port.isNetwork()) {
        *error = m_port.openErrorString();
        return false;
    }
    const QString path = m_port.devicePath();
    const bool exists = QFileInfo::exists(path);
    const bool usable = ::access(QFile::encodeName(path).constData(), R_OK | W_OK) == 0;
    if (!exists || m_port.openError() == QSerialPort::DeviceNotFoundError) {
        *error = u"the serial port %1 does not exist (CommDevice or CommPort in Kestrel.ini, "
                 u"or --device)"_s.arg(path);
    } else if (const QString holder = holderOf(path);
               m_port.openError() == QSerialPort::PermissionError && !holder.isEmpty()) {
        *error = u"the serial port %1 is held by another program, %2: close it (the Kestrel "
                 u"window holds its port while it runs) and try again"_s.arg(path, holder);
    } else if (!usable) {
        *error = u"no permission to use the serial port %1: add the account to the group "
                 u"dialout (then log in again)"_s.arg(path);
    } else if (m_port.openError() == QSerialPort::PermissionError) {
        *error = u"the serial port %1 is held by another program (%2): close it and try "
                 u"again"_s.arg(path, m_port.openErrorString());
    } else {
        *error = u"the serial port %1 cannot be opened: %2"_s.arg(path, m_port.openErrorString());
    }
    return false;
}

QString ConsoleSession::noReplyText() const
{
    return u"no reply from the tally system on %1 within %2 s"_s.arg(m_port.devicePath())
        .arg(CommandChannel::ReplyLimit.count() / 1000.0);
}

bool ConsoleSession::goOnline(QString *error)
{
    m_console.begin(u"probing"_s);
    const bool online = m_connection.GoOnline();
    m_console.end();
    m_view.takeMessages(); // the retry question, answered No, and "Going To Offline Mode"
    if (!online)
        *error = noReplyText() + u" (No Communications to Tally system)"_s;
    return online;
}

bool ConsoleSession::readTable(QStringList *lines, QString *error)
{
    m_view.resetCommErrors();
    m_console.begin(u"reading back"_s);
    // As the window's Save: a table with cleared rows in it would end at the first of them.
    m_readBack.MapTableCompress();
    *lines = m_files.SavedLines();
    m_console.end();
    if (m_view.commErrors() > 0) {
        *error =
            noReplyText() + u": the table was read up to row %1 only"_s.arg(m_model->MapStrings);
        return false;
    }
    if (m_view.text(Control::lblError) == ReadBack::LimitText()) {
        *error = ReadBack::LimitText();
        return false;
    }
    return true;
}

bool ConsoleSession::connect(const QString &device, QString *error)
{
    return open(device, error) && goOnline(error);
}

bool ConsoleSession::readFileAndTable(const QString &path, const QString &device,
                                      QList<MapFields> *maps, QString *error)
{
    QStringList table;
    return readTallyFile(path, maps, error) && connect(device, error) && readTable(&table, error);
}

bool ConsoleSession::readTallyFile(const QString &path, QList<MapFields> *maps, QString *error)
{
    QStringList fields;
    QString reason;
    if (!TallyFile::read(path, &fields, &reason) ||
        !MatrixComparison::parse(fields, maps, &reason)) {
        *error = u"tally file %1: %2"_s.arg(path, reason);
        return false;
    }
    return true;
}
