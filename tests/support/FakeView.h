// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "view/MainView.h"

#include <QHash>
#include <QList>

#include <functional>

// A recording stand-in for the main window: keeps what the logic wrote, answers what it reads,
// and replays scripted answers to message boxes and file dialogs.
class FakeView : public MainView
{
public:
    struct ControlState // a list's rows, colours and current row too
    {
        QString text;
        bool enabled = true, visible = true, checked = false;
        Colour back{}, fore{};
        QStringList rows;
        QList<Colour> colours;
        int current = -1;
    };
    QHash<Control, ControlState> controls;
    QStringList boxes;            // "title|text|buttons icon default" of each message box shown
    QList<MessageResult> answers; // next answers to message boxes; none left: the default
    QStringList files;            // next answers to file dialogs; none left: cancelled
    Control focus = Control::List1;
    int beeps = 0;
    std::function<void()> onProcessEvents;

    ControlState &at(Control c) { return controls[c]; }
    ControlState get(Control c) const { return controls.value(c); }

    void setText(Control c, const QString &t) override { at(c).text = t; }
    QString text(Control c) const override { return get(c).text; }
    void setToolTip(Control, const QString &) override {}
    void setEnabled(Control c, bool e) override { at(c).enabled = e; }
    bool isEnabled(Control c) const { return get(c).enabled; }
    void setVisible(Control c, bool v) override { at(c).visible = v; }
    bool isVisible(Control c) const { return get(c).visible; }
    void setBackColour(Control c, Colour colour) override { at(c).back = colour; }
    void setForeColour(Control c, Colour colour) override { at(c).fore = colour; }
    void setChecked(Control c, bool v) override { at(c).checked = v; }
    bool isChecked(Control c) const override { return get(c).checked; }
    void setHeightTwips(Control, int) override {}
    void setFocus(Control c) override { focus = c; }
    void selectAllText(Control) override {}
    void repaintNow(Control) override {}

    void setColumnWidths(Control, const QList<int> &) override {}
    void clearRows(Control l) override
    {
        at(l).rows.clear();
        at(l).colours.clear();
        at(l).current = -1;
    }
    void addRow(Control l, const QString &t) override
    {
        at(l).rows << t;
        at(l).colours << Colours::ListBlue;
    }
    int rowCount(Control l) const override { return get(l).rows.size(); }
    QString rowText(Control l, int r) const { return get(l).rows.value(r); }
    void setRowText(Control l, int r, const QString &t) override
    {
        r >= 0 && r < rowCount(l) ? void(at(l).rows[r] = t) : void();
    }
    void setRowColour(Control l, int r, Colour colour) override
    {
        r >= 0 && r < rowCount(l) ? void(at(l).colours[r] = colour) : void();
    }
    int currentRow(Control l) const override { return get(l).current; }
    void setCurrentRow(Control l, int r) override
    {
        r >= 0 && r < rowCount(l) ? void(at(l).current = r) : void();
    }

    void showWindow(Window, bool) override {}
    MessageResult messageBox(const QString &t, const QString &title, MessageButtons buttons,
                             MessageIcon icon, MessageResult defaultButton) override
    {
        static const char *b[]{"Ok", "OkCancel", "YesNo"}, *i[]{"-", "info", "warn", "crit"},
            *r[]{"Ok", "Cancel", "Yes", "No"};
        boxes << title + u'|' + t + u'|' + QLatin1StringView(b[int(buttons)]) + u' ' +
                     QLatin1StringView(i[int(icon)]) + u' ' +
                     QLatin1StringView(r[int(defaultButton)]);
        return answers.isEmpty() ? defaultButton : answers.takeFirst();
    }
    QString chooseFile(FileDialog, const QString &, const QString &) override
    {
        return files.isEmpty() ? QString() : files.takeFirst();
    }
    void processEvents() override { onProcessEvents ? onProcessEvents() : void(); }
    void beginBlocking() override {}
    void endBlocking() override {}
    void beep() override { ++beeps; }
};
