// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "model/SystemModel.h"

#include <QString>
#include <QStringView>

#include <array>
#include <optional>

// A map string describes the mapping of one output: eight bracketed numbers,
// "[Ounit][Ochannel][IUnit][IChannel][enable][IUnitBool][IChannelBool][mode]".
// Mode 0 is a plain mapping, 1 AND, 2 OR. "" means no mapping.

using MapFields = std::array<qint16, 8>;

enum BoolMode : qint16 { PlainMapping = 0, AndMapping = 1, OrMapping = 2 };

// Any eight fields, as written on the wire and in tally files (a hole is eight zeros).
QString ComposeMapFields(const MapFields &fields);
QString ComposeMapString(qint16 Ounit, qint16 Ochannel, qint16 IUnit, qint16 IChannel);
QString ComposeBoolMapString(qint16 Ounit, qint16 Ochannel, qint16 IUnit, qint16 IChannel,
                             qint16 IUnitBool, qint16 IChannelBool, qint16 BoolType);

// The reading rule shared by every reader: each "[" opens the next field, whose value is the
// number in the (at most) three characters after it; absent fields are 0. A ninth "[" and all
// text after it are ignored. A field that does not fit 16 bits (such as "9e9") reads 0.
MapFields ReadMapFields(QStringView text);

// The strict reading, for text that must be nothing but a map string: exactly eight fields
// "[" n "]" one after the other, each n a decimal integer ("-" allowed) of at most three
// digits, nothing before, between or after. None for anything else.
std::optional<MapFields> ReadStrictMapFields(QStringView text);

// Decodes `Response` into the model's current map string register (all eight fields).
void ParseGetMap(SystemModel &model, QStringView Response);
