// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "SimOptions.h"

#include <QCommandLineParser>

#include <cstdio>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

const char *const Details = R"(
The first line on standard output is the path of the serial port (the slave of a
pseudo-terminal); open it at 9600 8N1. The line stays up while clients close and reopen it.

Every command line ends in CR LF (a bare LF is taken too, for terminals); a CR anywhere else
belongs to the line and is ignored when the line is read. Each line is answered with: the line
echoed, CR LF, one reply line, CR LF, "." -- and nothing else. Replies hold no "." except
the version, and a "." typed into a command comes back as "," in the echo.

A command is a keyword of letters, matched without regard to case, and its numbers: decimal
integers without leading zeros, "-" before a negative one, each after one or more blanks
(spaces) or, when negative, right after the token before it ("Res 2  16", "Map-1-2-3-4").
Nothing else counts as a number: no "+", no &H or &O prefix, no point, no exponent.

  Map ou oc iu ic     output ou/oc driven by input iu/ic (plain row, enable flag 1)  OK
  AND ou oc iu ic     second input and mode 1 into the output's row                  OK
  OR ou oc iu ic      second input and mode 2 into the output's row                  OK
  ClrMap ou oc        the output's row becomes a hole ([0] x 8) until Comp           OK
  Comp                removes the holes; the rows after them move up                 OK
  RawMap n            map string of table row n (from 1); empty line past the end
  GetMap ou oc        map string of the output's row; empty line when it has none
  mapdisab ou oc      enable flag of the output's row to 0                           OK
  MapEnab ou oc       enable flag of the output's row to 1                           OK
  Set u c / Res u c   lights / releases channel c (1..32) of unit u                  OK
  Refresh             releases every channel                                         OK
  Init                empties the table, releases everything, disables all units     OK
  Uenable u           enables unit u                                                 OK
  BITS u              32 characters 0/1, character k for channel k, 1 while lit
  GSTAT u             e.g. "UNIT 3 ENABLED 2 LIT"
  VER                 "KESTREL MAIN V2.14" (also the probe line CR "VER")
  (empty line)        READY
Errors, after which nothing has changed: ERR COMMAND (unknown keyword), ERR ARGS (too few or
too many numbers, or anything after the keyword that is not numbers as above), ERR RANGE
(numbers beyond -32768..32767; units and channels 1..999, inputs 0..999, lit channels 1..32),
ERR NO MAP (the output has no row), ERR TABLE FULL (999 rows).

Faults (--fault, repeated or comma-separated; all of them may act together):
  silent      commands are carried out but never answered
  slow:MS     every answer MS milliseconds later
  cut         answers without the final "."
  garbage     random bytes instead of the answer, one "." among them (none with cut)
  drop:N      every Nth command is ignored: not carried out, not answered
  hangup:N    after answering the Nth command the line is hung up and the program ends
  lf:N        the answer to the Nth command loses the line feed after its echo
  tail:N      the answer to the Nth command stops before its last CR LF and "."; they
              follow 2.5 s later
  deaf        a command that comes in while an answer is still going out is ignored (not
              carried out, not answered; logged as "ignored: came while answering"),
              as by hardware that does not listen while it talks; pair it with --baud
Commands are counted from 1 as they arrive. Randomness comes from --seed only.

By hand: socat -,raw,echo=0,icrnl,opost,onlcr PATH,crlf  (Enter sends CR LF);
with socat -,raw,echo=0,crlf PATH end each line with Ctrl-J.
)";

bool readCount(const QCommandLineParser &parser, const QString &name, int low, int *value)
{
    if (!parser.isSet(name))
        return true;
    bool ok = false;
    *value = parser.value(name).toInt(&ok);
    if (ok && *value >= low)
        return true;
    std::fprintf(stderr, "kestrel-sim: --%s wants a number of at least %d\n", qPrintable(name),
                 low);
    return false;
}

} // namespace

std::optional<SimOptions> ParseSimOptions(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"The virtual tally system: plays the Kestrel tally system on a pseudo-terminal."_s);
    const QCommandLineOption help({u"h"_s, u"help"_s}, u"Shows this help."_s);
    const QCommandLineOption version({u"v"_s, u"version"_s}, u"Shows the version."_s);
    parser.addOptions({
        help,
        version,
        {u"link"_s,
         u"Keeps a symbolic link to the port at PATH, replacing what was there; "
         u"removed on exit."_s,
         u"PATH"_s},
        {u"rows"_s,
         u"Preloads the map table from a tally file: a map string a line, each "
         u"exactly [n][n][n][n][n][n][n][n] with fields -99..999."_s,
         u"FILE"_s},
        {u"log"_s,
         u"Appends a line per command received: time of day and the line as it "
         u"came, CR shown as <CR>."_s,
         u"FILE"_s},
        {u"state"_s,
         u"After every change rewrites FILE (atomically) with the map table as a "
         u"tally file, holes included."_s,
         u"FILE"_s},
        {u"baud"_s,
         u"Line speed, 10 bits a character: an answer waits until the command has "
         u"crossed the line and goes out no faster. 0: at once. Default 9600."_s,
         u"N"_s},
        {u"latency"_s, u"Waits MS milliseconds more before every answer."_s, u"MS"_s},
        {u"fault"_s, u"Misbehaves as asked (see below)."_s, u"FAULT"_s},
        {u"seed"_s, u"Seeds the random faults (default 1)."_s, u"N"_s},
    });
    if (!parser.parse(arguments)) {
        std::fprintf(stderr, "kestrel-sim: %s\n", qPrintable(parser.errorText()));
        return std::nullopt;
    }
    if (parser.isSet(help)) {
        std::fputs(qPrintable(parser.helpText()), stdout);
        std::fputs(Details, stdout);
        std::exit(0);
    }
    if (parser.isSet(version)) {
        std::printf("kestrel-sim %d.%d.%d\n", KESTREL_VERSION_MAJOR, KESTREL_VERSION_MINOR,
                    KESTREL_VERSION_PATCH);
        std::exit(0);
    }
    if (!parser.positionalArguments().isEmpty()) {
        std::fprintf(stderr, "kestrel-sim: unexpected argument %s\n",
                     qPrintable(parser.positionalArguments().first()));
        return std::nullopt;
    }

    SimOptions options;
    options.linkPath = parser.value(u"link"_s);
    options.rowsPath = parser.value(u"rows"_s);
    options.logPath = parser.value(u"log"_s);
    options.statePath = parser.value(u"state"_s);
    int latency = 0;
    int seed = 1;
    if (!readCount(parser, u"baud"_s, 0, &options.bitsPerSecond) ||
        !readCount(parser, u"latency"_s, 0, &latency) || !readCount(parser, u"seed"_s, 0, &seed))
        return std::nullopt;
    options.latency = std::chrono::milliseconds(latency);
    options.seed = static_cast<quint32>(seed);
    for (const QString &list : parser.values(u"fault"_s)) {
        for (const QString &fault : list.split(u',', Qt::SkipEmptyParts)) {
            QString error;
            if (!options.faults.add(fault.trimmed(), &error)) {
                std::fprintf(stderr, "kestrel-sim: %s\n", qPrintable(error));
                return std::nullopt;
            }
        }
    }
    options.faults.seed(options.seed);
    return options;
}
