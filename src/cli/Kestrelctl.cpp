// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "cli/Kestrelctl.h"

#include "cli/ApplyCommand.h"
#include "cli/Console.h"
#include "cli/ConsoleSession.h"
#include "cli/ConsoleView.h"
#include "cli/LoadCommand.h"
#include "cli/RawCommand.h"
#include "cli/ReadCommand.h"
#include "cli/VerifyCommand.h"
#include "cli/WatchCommand.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString Commands =
    u"Commands:\n"
    u"  read [FILE]              read the whole matrix back into a tally file (standard\n"
    u"                           output for no FILE or -)\n"
    u"  load [--partial] FILE    the window's Load (Partial Load): the same commands\n"
    u"  verify FILE              compare the matrix with FILE; status 0 equal, 1 different\n"
    u"  apply [--partial] FILE   send only what differs from FILE, then verify\n"
    u"  send COMMAND...          one raw command, every word after send (options go\n"
    u"                           before it); its raw reply on standard output\n"
    u"  watch UNIT [--for SECONDS]  a unit's bits and status, five times a second\n"
    u"FILE - is standard input (load, verify, apply) or standard output (read).\n"
    u"Failures: one line on standard error and status 2."_s;

// The one option a command takes beside the common ones, if any.
enum class CommandOption { None, Partial, Overwrite, Duration };

constexpr int AnyNumber = -1;

struct Usage
{
    QString command;
    int minimum = 0; // arguments after the command
    int maximum = 0;
    CommandOption option = CommandOption::None;
};

const QList<Usage> Usages = {
    {u"read"_s, 0, 1, CommandOption::Overwrite},    {u"load"_s, 1, 1, CommandOption::Partial},
    {u"verify"_s, 1, 1, CommandOption::None},       {u"apply"_s, 1, 1, CommandOption::Partial},
    {u"send"_s, 1, AnyNumber, CommandOption::None}, {u"watch"_s, 1, 1, CommandOption::Duration},
};

// Everything after "send" is the raw command, "-5" included: a "--" goes in behind it.
QStringList withRawSend(QStringList arguments)
{
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString &a = arguments[i];
        if (a == u"--"_s)
            break;
        if (a == u"--ini"_s || a == u"--device"_s || a == u"--for"_s) {
            ++i; // its value
        } else if (!a.startsWith(u'-')) {
            if (a == u"send"_s)
                arguments.insert(i + 1, u"--"_s);
            break;
        }
    }
    return arguments;
}

} // namespace

QString Kestrelctl::defaultIniPath()
{
    return QDir(QCoreApplication::applicationDirPath()).filePath(u"Kestrel.ini"_s);
}

int Kestrelctl::run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Reads, loads, checks and applies the matrix of a Kestrel tally system from the "
        u"command line.\n\n"_s +
        Commands);
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsOptions);
    const QCommandLineOption ini(
        u"ini"_s, u"The description file (default: %1)."_s.arg(defaultIniPath()), u"PATH"_s);
    const QCommandLineOption device(
        u"device"_s, u"The serial port, instead of CommDevice and CommPort."_s, u"PATH"_s);
    const QCommandLineOption quiet(u"quiet"_s, u"No progress, notes or summary."_s);
    const QCommandLineOption partial(u"partial"_s,
                                     u"load, apply: add to the matrix, unmap nothing."_s);
    const QCommandLineOption overwrite(u"overwrite"_s, u"read: replace an existing FILE."_s);
    const QCommandLineOption duration(u"for"_s, u"watch: end after SECONDS."_s, u"SECONDS"_s);
    // Not addHelpOption(): its --help-all lists options of a GUI application this is not.
    const QCommandLineOption help({u"h"_s, u"help"_s}, u"Displays this help."_s);
    parser.addOptions({ini, device, quiet, partial, overwrite, duration, help});
    const QCommandLineOption version = parser.addVersionOption();
    parser.addPositionalArgument(u"command"_s, u"read, load, verify, apply, send or watch."_s);
    parser.addPositionalArgument(u"arguments"_s, u"The command's arguments."_s, u"[...]"_s);

    Console console(false, false);
    if (!parser.parse(withRawSend(arguments))) {
        // Worded as the other messages: lower case, no full stop.
        const QStringList unknown = parser.unknownOptionNames();
        QString text = parser.errorText();
        if (!unknown.isEmpty())
            text = u"no option %1%2"_s.arg(unknown.first().size() == 1 ? u"-"_s : u"--"_s,
                                           unknown.first());
        else if (!text.isEmpty())
            text = text.left(1).toLower() + text.mid(1);
        if (text.endsWith(u'.'))
            text.chop(1);
        console.error(text + u" (kestrelctl --help lists the options)"_s);
        return ExitFailure;
    }
    if (parser.isSet(help))
        parser.showHelp(ExitSuccess);
    if (parser.isSet(version))
        parser.showVersion();

    QStringList words = parser.positionalArguments();
    const QString command = words.isEmpty() ? QString() : words.takeFirst();
    const auto usage = std::find_if(Usages.begin(), Usages.end(),
                                    [&](const Usage &u) { return u.command == command; });
    if (usage == Usages.end()) {
        console.error(command.isEmpty()
                          ? u"no command given (kestrelctl --help lists them)"_s
                          : u"no command \"%1\" (kestrelctl --help lists them)"_s.arg(command));
        return ExitFailure;
    }
    if (words.size() < usage->minimum ||
        (usage->maximum != AnyNumber && words.size() > usage->maximum)) {
        console.error(u"%1: wrong number of arguments (kestrelctl --help)"_s.arg(command));
        return ExitFailure;
    }
    for (const auto &[option, taken] : {std::pair{&partial, CommandOption::Partial},
                                        std::pair{&overwrite, CommandOption::Overwrite},
                                        std::pair{&duration, CommandOption::Duration}}) {
        if (parser.isSet(*option) && usage->option != taken) {
            console.error(u"%1: --%2 does not apply"_s.arg(command, option->names().first()));
            return ExitFailure;
        }
    }
    double seconds = 0;
    if (parser.isSet(duration)) {
        bool ok = false;
        seconds = parser.value(duration).toDouble(&ok);
        if (!ok || seconds <= 0) {
            console.error(u"--for wants a number of seconds above 0"_s);
            return ExitFailure;
        }
    }

    Console out(parser.isSet(quiet), ::isatty(STDERR_FILENO) == 1);
    ConsoleView view(out);
    ConsoleSession session(out, view);
    QString error;
    // A raw command to a port named here needs no description of the studio.
    const bool needsIni = command != u"send"_s || !parser.isSet(device) || parser.isSet(ini);
    if (needsIni &&
        !session.describe(parser.isSet(ini) ? parser.value(ini) : defaultIniPath(), &error)) {
        out.error(error);
        return ExitFailure;
    }
    QString port = parser.value(device);
    // "tty" is a file here, not the terminal the serial port library would make of it.
    if (!port.isEmpty() && !port.contains(u"://"_s))
        port = QFileInfo(port).absoluteFilePath();
    const QString file = words.value(0);
    if (command == u"read"_s)
        return ReadCommand(session, out).run(file, parser.isSet(overwrite), port);
    if (command == u"load"_s)
        return LoadCommand(session, out).run(file, parser.isSet(partial), port);
    if (command == u"verify"_s)
        return VerifyCommand(session, out).run(file, port);
    if (command == u"apply"_s)
        return ApplyCommand(session, out).run(file, parser.isSet(partial), port);
    if (command == u"send"_s)
        return RawCommand(session, out).run(words, port);
    return WatchCommand(session, out).run(file, seconds, port);
}
