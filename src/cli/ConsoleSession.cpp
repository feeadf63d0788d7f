// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "cli/ConsoleSession.h"

#include "cli/Console.h"
#include "cli/MatrixComparison.h"
#include "config/SystemDescription.h"
#include "files/TallyFile.h"

#include <QFile>

using namespace Qt::StringLiterals;

ConsoleSession::ConsoleSession(Console &console, ConsoleView &view)
    : m_console(console), m_view(view), m_model(std::make_unique<SystemModel>()),
      m_logic(*m_model, view, m_port)
{
    m_logic.channel.setQuietWait(QuietTime);
    m_logic.channel.setObserver(
        [this](const QString &command, const Exchange &exchange) { check(command, exchange); });
    m_logic.readBack.setStrict(true);
}

void ConsoleSession::check(const QString &command, const Exchange &exchange)
{
    ++m_exchanges;
    if (failed())
        return;
    const QString quoted = u"\""_s + Console::printable(command) + u"\""_s;
    const QString &reply = m_model->IBuffer;
    // Only the version holds a "." of its own.
    const bool version = command.trimmed().compare(u"VER"_s, Qt::CaseInsensitive) == 0;
    if (exchange.outcome == ExchangeOutcome::TimedOut && reply.isEmpty())
        m_failure = noReplyText() + u" to "_s + quoted;
    else if (exchange.outcome == ExchangeOutcome::TimedOut)
        m_failure = u"the reply to %1 was cut short: no \".\" within %2 s (\"%3\")"_s.arg(quoted)
                        .arg(CommandChannel::ReplyLimit.count() / 1000.0)
                        .arg(Console::printable(reply));
    else if (exchange.outcome == ExchangeOutcome::OutOfStep)
        m_failure = u"the reply to %1 is not its own (garbled, out of step or a line end lost): "
                    u"\"%2\""_s.arg(quoted, Console::printable(reply));
    // Before the first command, bytes may wait from before this session: the probe's empty
    // line is there to clear them.
    else if (exchange.discarded > 0 && m_exchanges > 1)
        m_failure = u"%1 bytes came after the end of the reply before %2"_s.arg(exchange.discarded)
                        .arg(quoted);
    else if (!exchange.whole && !version)
        m_failure =
            u"the reply to %1 is not whole: \"%2\""_s.arg(quoted, Console::printable(reply));
    // Clearing an output that has no row leaves it as wanted.
    else if (m_model->Response.startsWith(u"ERR"_s) &&
             !(command.startsWith(u"ClrMap"_s) && m_model->Response == u"ERR NO MAP"_s)) {
        const QString text = u"the tally system answered \"%1\" to %2"_s.arg(
            Console::printable(m_model->Response), quoted);
        // A unit that EnabledUnits names wrongly (or unit 0, when it is empty) is the
        // description's business, not the matrix's: said, not fatal, as in the window.
        if (command.startsWith(u"Uenable"_s))
            m_console.note(text + u" (EnabledUnits in Kestrel.ini)"_s);
        else
            m_failure = text;
    }
    if (failed() && m_onFailure)
        m_onFailure();
}

bool ConsoleSession::describe(const QString &iniPath, QString *error)
{
    SystemDescription description = SystemDescription::fromFile(iniPath);
    if (!description.IniRead(*m_model)) {
        using Outcome = SystemDescription::Outcome;
        switch (description.outcome()) {
        case Outcome::Missing:
            *error = u"no Kestrel.ini at %1 (--ini names another)"_s.arg(iniPath);
            break;
        case Outcome::NotAFile:
            *error = u"%1 is not a file"_s.arg(iniPath);
            break;
        case Outcome::TooLarge:
            *error = u"%1 is too large for a Kestrel.ini"_s.arg(iniPath);
            break;
        case Outcome::Unreadable:
        case Outcome::Read:
            *error = u"cannot read %1"_s.arg(iniPath);
            break;
        case Outcome::NoSystem:
            *error = u"%1 is no Kestrel.ini: it names no System in [Kestrel]"_s.arg(iniPath);
            break;
        }
        return false;
    }
    if (!description.limitWarning().isEmpty())
        m_console.note(QString(description.limitWarning()).replace(u"\r\n"_s, u" "_s));
    m_logic.lists.FillLists();
    for (Control list : {Control::List1, Control::list2, Control::list3})
        m_view.setCurrentRow(list, 0);
    return true;
}

bool ConsoleSession::open(const QString &device, QString *error)
{
    m_port.PortSetNumber(m_model->KestrelCommport);
    m_port.PortSetDevice(device.isEmpty() ? m_model->CommDevice : device);
    if (m_port.PortOpen())
        return true;
    *error = m_port.openFailure();
    return false;
}

QString ConsoleSession::noReplyText() const
{
    return u"no reply from the tally system on %1 within %2 s"_s.arg(m_port.devicePath())
        .arg(CommandChannel::ReplyLimit.count() / 1000.0);
}

bool ConsoleSession::goOnline(QString *error)
{
    // The window's probe ("", then CR "VER"), each reply checked; a first failure ends it,
    // where the window would go on to ask for the version on a line that already failed.
    m_console.begin(u"probing"_s);
    for (const QString &command : {QString(), u"\rVER"_s}) {
        if (!failed())
            m_logic.channel.SendCommand(command);
    }
    m_console.end();
    m_model->Online = !failed();
    if (failed())
        *error = m_failure;
    return !failed();
}

bool ConsoleSession::readTable(QStringList *lines, QString *error)
{
    // Reckoned as a row for every declared output, "Comp" and the row that ends the table.
    m_console.begin(u"reading back"_s, m_model->NumberOfOutputs + 2, Console::BytesPerRow);
    // As the window's Save: a table with cleared rows in it would end at the first of them.
    m_logic.readBack.MapTableCompress();
    if (!failed())
        *lines = m_logic.files.SavedLines();
    m_console.end();
    const int rows = m_model->MapStrings;
    if (failed()) {
        *error = m_failure + u" (after %1 rows of the table)"_s.arg(rows);
        return false;
    }
    switch (m_logic.readBack.lastEnd()) {
    case ReadBackEnd::TableEnd:
        return true;
    case ReadBackEnd::RowLimit:
        *error =
            u"the table holds more than %1 rows: row %2 is not its end"_s.arg(rows).arg(rows + 1);
        break;
    case ReadBackEnd::FailedExchange:
        *error = u"row %1 of the table is not a map string: \"%2\""_s.arg(rows + 1).arg(
            Console::printable(m_model->Response));
        break;
    case ReadBackEnd::Cancelled:
        *error = u"the read-back stopped after %1 rows"_s.arg(rows);
        break;
    }
    return false;
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
    QStringList lines;
    QString reason;
    // "-" is standard input, as for read's standard output.
    QFile in;
    const bool fromStdin = path == u"-"_s;
    const bool read = fromStdin
                          ? in.open(stdin, QIODevice::ReadOnly) &&
                                TallyFile::lines(in.read(TallyFile::MaxBytes + 1), &lines, &reason)
                          : TallyFile::readLines(path, &lines, &reason);
    if (!read || !MatrixComparison::parse(lines, maps, &reason)) {
        *error = u"tally file %1: %2"_s.arg(fromStdin ? u"on standard input"_s : path, reason);
        return false;
    }
    return true;
}
