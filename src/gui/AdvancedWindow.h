// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "view/SecondaryViews.h"

#include <QWidget>

class QAbstractButton;
class QLineEdit;
class QPlainTextEdit;

// frmVerbose, "Kestrel Advanced Config": a command line with its "send" button and the receive
// monitor, which shows the latest exchange with its line breaks. Enter in the command line is
// reported through commandEntered(), a close by its close box through unloading().
class AdvancedWindow : public QWidget, public AdvancedView
{
    Q_OBJECT
public:
    static constexpr int InnerWidthTwips = 4905;
    static constexpr int InnerHeightTwips = 5535;

    explicit AdvancedWindow(QWidget *parent = nullptr);
    ~AdvancedWindow() override;

    // The controls, for wiring and for tests.
    QLineEdit *commandLine() const { return m_txtDirectCommand; }      // txtDirectCommand
    QAbstractButton *sendButton() const { return m_cmdDirectCommand; } // cmdDirectCommand
    QPlainTextEdit *monitor() const { return m_txtIBuffer; }           // txtIBuffer

    // AdvancedView
    QString commandText() const override;
    void setMonitorText(const QString &text) override;
    void focusCommandLine() override;

signals:
    // Enter (character code 13) in the command line. The line keeps its text.
    void commandEntered();
    // The window is being closed by its close box.
    void unloading();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void build();

    QLineEdit *m_txtDirectCommand = nullptr;
    QAbstractButton *m_cmdDirectCommand = nullptr;
    QPlainTextEdit *m_txtIBuffer = nullptr;
};
