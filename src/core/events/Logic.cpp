// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "events/Logic.h"

#include <utility>

Logic::Logic(SystemModel &model, MainView &view, SerialPort &port, MonotonicClock clock,
             Pause pause)
    : channel(model, view, port, std::move(clock)), lists(model, view), clearing(model, view),
      commands(model, channel), clearAll(model, view, commands, clearing, lists),
      connection(model, view, channel, pause),
      readBack(model, view, channel, lists, clearing, commands, pause),
      mapping(model, view, channel, commands, lists), test(model, view, channel, readBack),
      selection(model, view, lists, mapping, test), entry(model, view, lists, mapping, selection),
      held(model, view, test, selection),
      files(model, view, mapping, readBack, commands, clearing, lists), m_model(model), m_view(view)
{
}

void Logic::addSecondaryViews(UnitStatusView &unitView, AdvancedView &advancedView)
{
    addUnitStatus(unitView);
    advanced.emplace(m_view, advancedView, channel);
}

UnitStatus &Logic::addUnitStatus(UnitStatusView &unitView)
{
    return unitStatus.emplace(m_model, m_view, unitView, channel, commands);
}
