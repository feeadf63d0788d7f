// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "config/SystemDescription.h"

#include "model/NumberText.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

// The converter Debian built its SimpleIni library with; values are decoded by us.
#define SI_CONVERT_ICU
#include <SimpleIni.h>

#include <optional>

namespace {

const char *const Section = "Kestrel";

// Modern description files are UTF-8; older ones are 8-bit. Accept both.
QString decode(const char *value)
{
    if (value == nullptr)
        return {};
    const QByteArray bytes(value);
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = utf8.decode(bytes);
    return utf8.hasError() ? QString::fromLatin1(bytes) : text;
}

QString value(const CSimpleIniA &ini, const QString &key)
{
    return decode(ini.GetValue(Section, key.toLatin1().constData(), nullptr));
}

struct Entry
{
    QString name;
    qint16 unit = 0;
    qint16 channel = 0;
};

// name,unit,channel. Fewer than two commas, or a number that does not fit 16 bits, make the
// entry malformed: it keeps its index with name "", unit 0, channel 0.
std::optional<Entry> parseEntry(const QString &text)
{
    const qsizetype c1 = text.indexOf(QLatin1Char(','));
    const qsizetype c2 = c1 < 0 ? -1 : text.indexOf(QLatin1Char(','), c1 + 1);
    if (c2 < 0)
        return std::nullopt;
    const auto unit = ToInt16(ReadNumber(QStringView(text).mid(c1 + 1, c2 - c1 - 1)));
    const auto channel = ToInt16(ReadNumber(QStringView(text).mid(c2 + 1)));
    if (!unit || !channel)
        return std::nullopt;
    return Entry{text.left(c1), *unit, *channel};
}

// Counts the consecutive keys prefix+N(first), prefix+N(first+1), ... that have a value.
int countFrom(const CSimpleIniA &ini, const char *prefix, int first)
{
    int n = 0;
    while (!value(ini, QLatin1String(prefix) + NumberField(first + n)).isEmpty())
        ++n;
    return n;
}

} // namespace

SystemDescription::SystemDescription(const QString &programDir)
    : m_filePath(QDir(programDir).filePath(QStringLiteral("Kestrel.ini")))
{
}

SystemDescription SystemDescription::fromFile(const QString &filePath)
{
    SystemDescription description{QString()};
    description.m_filePath = filePath;
    return description;
}

QString SystemDescription::filePath() const { return m_filePath; }

bool SystemDescription::fail(Outcome why)
{
    m_outcome = why;
    return false;
}

bool SystemDescription::IniRead(SystemModel &model)
{
    m_limitWarning.clear();

    // Only a regular file of sane size is read: a directory, a device or a pipe named
    // Kestrel.ini must not hang or crash the start.
    const QFileInfo info(filePath());
    if (!info.exists())
        return fail(Outcome::Missing);
    if (!info.isFile())
        return fail(Outcome::NotAFile);
    if (info.size() > MaxFileBytes)
        return fail(Outcome::TooLarge);
    QFile file(info.filePath());
    if (!file.open(QIODevice::ReadOnly))
        return fail(Outcome::Unreadable);
    const QByteArray data = file.read(MaxFileBytes);

    CSimpleIniA ini(false, false, false);
    if (ini.LoadData(data.constData(), static_cast<size_t>(data.size())) < 0)
        return fail(Outcome::Unreadable);

    const QString system = value(ini, QStringLiteral("System"));
    if (system.isEmpty())
        return fail(Outcome::NoSystem);
    m_outcome = Outcome::Read;
    model.SystemName = system;

    // A port outside 0..255, or 0, or no number at all selects port 1.
    const auto port = ToInt16(ReadNumber(value(ini, QStringLiteral("CommPort"))));
    model.KestrelCommport = (port && *port >= 1 && *port <= 255) ? static_cast<quint8>(*port) : 1;
    model.CommDevice = value(ini, QStringLiteral("CommDevice")).trimmed();

    model.EnabledUnitsText = value(ini, QStringLiteral("EnabledUnits"));
    ParseEnabledUnits(model);

    int outputs = 0;
    for (int i = 1; i <= MaxDeclared; ++i) {
        const QString v = value(ini, QStringLiteral("Output") + NumberField(i));
        if (v.isEmpty())
            break;
        outputs = i;
        if (const auto e = parseEntry(v)) {
            model.OutputName[i] = e->name;
            model.OutputUnit[i] = e->unit;
            model.OutputChannel[i] = e->channel;
            model.OutputSource[i].clear();
        } else {
            model.OutputName[i].clear();
            model.OutputUnit[i] = 0;
            model.OutputChannel[i] = 0;
        }
    }
    model.NumberOfOutputs = static_cast<qint16>(outputs);

    model.InputName[0] = QStringLiteral("Unassigned");
    model.InputUnit[0] = 0;
    model.InputChannel[0] = 0;
    int inputs = 0;
    for (int j = 1; j <= MaxDeclared; ++j) {
        const QString v = value(ini, QStringLiteral("Input") + NumberField(j));
        if (v.isEmpty())
            break;
        inputs = j;
        const Entry e = parseEntry(v).value_or(Entry{});
        model.InputName[j] = e.name;
        model.InputUnit[j] = e.unit;
        model.InputChannel[j] = e.channel;
    }
    model.NumberOfInputs = static_cast<qint16>(inputs);

    QStringList lost;
    if (outputs == MaxDeclared) {
        if (const int n = countFrom(ini, "Output", MaxDeclared + 1))
            lost << QStringLiteral("%1 output entries beyond Output 999 were not read.").arg(n);
    }
    if (inputs == MaxDeclared) {
        if (const int n = countFrom(ini, "Input", MaxDeclared + 1))
            lost << QStringLiteral("%1 input entries beyond Input 999 were not read.").arg(n);
    }
    if (!lost.isEmpty()) {
        m_limitWarning = QStringLiteral("This tally system description declares more entries "
                                        "than the configurator can hold (at most 999 outputs "
                                        "and 999 inputs).\r\n") +
                         lost.join(QStringLiteral("\r\n"));
    }
    return true;
}

void SystemDescription::ParseEnabledUnits(SystemModel &model)
{
    const QString &s = model.EnabledUnitsText;
    qsizetype start = 0;
    model.EnabledUnitCount = 0;
    for (int k = 1; k <= MaxEnabledUnits; ++k) {
        const qsizetype p = s.indexOf(QLatin1Char(','), start);
        if (p < 0) {
            model.EnabledUnitList[k] = ReadInt16(QStringView(s).mid(start));
            model.EnabledUnitCount = static_cast<qint16>(k);
            return;
        }
        model.EnabledUnitList[k] = ReadInt16(QStringView(s).mid(start, p - start));
        start = p + 1;
    }
    // More than 50 fields: the list is filled but counts as empty.
}
