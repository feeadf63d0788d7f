// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "matrix/Lookup.h"

int FindOutputMapping(SystemModel &model)
{
    for (model.Z = 1; model.Z <= model.NumberOfOutputs; ++model.Z) {
        if (model.OutputChannel[model.Z] == model.CurrentOutChannel &&
            model.OutputUnit[model.Z] == model.CurrentOutUnit)
            break;
    }
    return model.Z;
}

int FindInputSourceMapping(SystemModel &model)
{
    return SearchInputList(model, model.CurrentInUnit, model.CurrentInChannel);
}

int SearchInputList(SystemModel &model, int Unit, int Channel)
{
    for (model.Z = 0; model.Z <= model.NumberOfInputs; ++model.Z) {
        if (model.InputChannel[model.Z] == Channel && model.InputUnit[model.Z] == Unit)
            break;
    }
    return model.Z;
}
