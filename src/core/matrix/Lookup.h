// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "model/SystemModel.h"

// Unit/channel to index. Linear scans, lowest matching index wins; each runs its loop on the
// model's shared index Z and leaves the index returned in it. No match gives count + 1.

// Output index of CurrentOutUnit/CurrentOutChannel: 1..NumberOfOutputs, or NumberOfOutputs + 1.
int FindOutputMapping(SystemModel &model);

// Input index of CurrentInUnit/CurrentInChannel: 0..NumberOfInputs, or NumberOfInputs + 1.
int FindInputSourceMapping(SystemModel &model);

// Input index of the given unit and channel, as FindInputSourceMapping.
int SearchInputList(SystemModel &model, int Unit, int Channel);
