#pragma once

#include "view/MainView.h"

#include <QHash>
#include <QList>
#include <QStringList>

#include <deque>
#include <functional>

// A recording stand-in for the main window: keeps what the logic wrote, answers what it reads,
// and replays scripted answers to message boxes and file dialogs.
class FakeView : public MainView
{
public:
    struct ControlState
    {
        QString text, toolTip;
        bool enabled = true, visible = true, checked = false;
        Colour back{}, fore{};
        int heightTwips = 0, repaints = 0;
    };
    struct ListState
    {
        QStringList rows;
        QList<Colour> colours;
        int current = -1;
    };
    struct Box
    {
        QString text, title;
        MessageButtons buttons{};
        MessageIcon icon{};
        MessageResult defaultButton{};
        // "title|text|buttons icon default", as one line to compare.
        QString str() const
        {
            static const char *b[]{"Ok", "OkCancel", "YesNo"}, *i[]{"-", "info", "warn", "crit"},
                *r[]{"Ok", "Cancel", "Yes", "No"};
            return title + u'|' + text + u'|' + QLatin1StringView(b[int(buttons)]) + u' ' +
                   QLatin1StringView(i[int(icon)]) + u' ' +
                   QLatin1StringView(r[int(defaultButton)]);
        }
    };

    QHash<Control, ControlState> controls;
    QHash<Control, ListState> lists;
    QHash<Window, bool> windows;
    QList<Box> boxes;
    std::deque<MessageResult> answers; // next answers to message boxes; none left: the default
    std::deque<QString> files;         // next answers to file dialogs; none left: cancelled
    QStringList dialogs;               // the titles of the file dialogs shown
    Control focus = Control::List1;
    int beeps = 0;
    std::function<void()> onProcessEvents;

    ControlState &at(Control c) { return controls[c]; }
    const ControlState at(Control c) const { return controls.value(c); }
    ListState &list(Control c) { return lists[c]; }

    void setText(Control c, const QString &t) override { at(c).text = t; }
    QString text(Control c) const override { return at(c).text; }
    void setToolTip(Control c, const QString &t) override { at(c).toolTip = t; }
    void setEnabled(Control c, bool e) override { at(c).enabled = e; }
    bool isEnabled(Control c) const override { return at(c).enabled; }
    void setVisible(Control c, bool v) override { at(c).visible = v; }
    bool isVisible(Control c) const override { return at(c).visible; }
    void setBackColour(Control c, Colour colour) override { at(c).back = colour; }
    void setForeColour(Control c, Colour colour) override { at(c).fore = colour; }
    void setChecked(Control c, bool v) override { at(c).checked = v; }
    bool isChecked(Control c) const override { return at(c).checked; }
    void setHeightTwips(Control c, int twips) override { at(c).heightTwips = twips; }
    void setFocus(Control c) override { focus = c; }
    void selectAllText(Control) override {}
    void repaintNow(Control c) override { ++at(c).repaints; }

    void setColumnWidths(Control, const QList<int> &) override {}
    void clearRows(Control l) override { list(l) = {}; }
    void addRow(Control l, const QString &t) override
    {
        list(l).rows << t;
        list(l).colours << Colours::ListBlue;
    }
    int rowCount(Control l) const override { return lists.value(l).rows.size(); }
    QString rowText(Control l, int r) const override { return lists.value(l).rows.value(r); }
    void setRowText(Control l, int r, const QString &t) override
    {
        if (r >= 0 && r < list(l).rows.size())
            list(l).rows[r] = t;
    }
    void setRowColour(Control l, int r, Colour colour) override
    {
        if (r >= 0 && r < list(l).colours.size())
            list(l).colours[r] = colour;
    }
    int currentRow(Control l) const override { return lists.value(l).current; }
    void setCurrentRow(Control l, int r) override
    {
        if (r >= 0 && r < list(l).rows.size())
            list(l).current = r;
    }

    void showWindow(Window w, bool shown) override { windows[w] = shown; }

    MessageResult messageBox(const QString &t, const QString &title, MessageButtons buttons,
                             MessageIcon icon, MessageResult defaultButton) override
    {
        boxes << Box{t, title, buttons, icon, defaultButton};
        const MessageResult r = answers.empty() ? defaultButton : answers.front();
        if (!answers.empty())
            answers.pop_front();
        return r;
    }
    QString chooseFile(FileDialog, const QString &title, const QString &) override
    {
        dialogs << title;
        const QString f = files.empty() ? QString() : files.front();
        if (!files.empty())
            files.pop_front();
        return f;
    }
    void processEvents() override
    {
        if (onProcessEvents)
            onProcessEvents();
    }
    void beep() override { ++beeps; }
};
