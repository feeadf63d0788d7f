// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "matrix/MapString.h"

#include "model/NumberText.h"

QString ComposeMapFields(const MapFields &fields)
{
    QString s;
    s.reserve(40);
    for (qint16 v : fields)
        s += QLatin1Char('[') + QString::number(v) + QLatin1Char(']');
    return s;
}

QString ComposeMapString(qint16 Ounit, qint16 Ochannel, qint16 IUnit, qint16 IChannel)
{
    return ComposeMapFields({Ounit, Ochannel, IUnit, IChannel, 1, 0, 0, PlainMapping});
}

QString ComposeBoolMapString(qint16 Ounit, qint16 Ochannel, qint16 IUnit, qint16 IChannel,
                             qint16 IUnitBool, qint16 IChannelBool, qint16 BoolType)
{
    return ComposeMapFields(
        {Ounit, Ochannel, IUnit, IChannel, 1, IUnitBool, IChannelBool, BoolType});
}

MapFields ReadMapFields(QStringView text)
{
    MapFields fields{};
    std::size_t next = 0;
    for (qsizetype p = 0; p < text.size() && next < fields.size(); ++p) {
        if (text[p] == QLatin1Char('['))
            fields[next++] = ReadInt16(text.mid(p + 1, 3));
    }
    return fields;
}

std::optional<MapFields> ReadStrictMapFields(QStringView text)
{
    MapFields fields{};
    qsizetype p = 0;
    for (qint16 &field : fields) {
        if (p >= text.size() || text[p] != QLatin1Char('['))
            return std::nullopt;
        const bool negative = ++p < text.size() && text[p] == QLatin1Char('-');
        p += negative ? 1 : 0;
        int value = 0;
        int digits = 0;
        for (; p < text.size() && text[p].isDigit() && text[p].unicode() < 128; ++p, ++digits)
            value = value * 10 + (text[p].unicode() - '0');
        if (digits == 0 || digits > 3 || p >= text.size() || text[p] != QLatin1Char(']'))
            return std::nullopt;
        field = static_cast<qint16>(negative ? -value : value);
        ++p;
    }
    if (p != text.size())
        return std::nullopt;
    return fields;
}

void ParseGetMap(SystemModel &model, QStringView Response)
{
    const MapFields f = ReadMapFields(Response);
    model.CurrentOutUnit = f[0];
    model.CurrentOutChannel = f[1];
    model.CurrentInUnit = f[2];
    model.CurrentInChannel = f[3];
    model.CurrentMapEnable = f[4];
    model.CurrentBooleanInUnit = f[5];
    model.CurrentBooleanInChannel = f[6];
    model.CurrentBooleanMode = f[7];
}
