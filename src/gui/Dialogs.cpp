// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "gui/Dialogs.h"

#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>

QString Dialogs::displayText(const QString &text)
{
    QString shown = text;
    shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    shown.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return shown;
}

MessageResult Dialogs::messageBox(const Request &request, QWidget *parent) const
{
    if (m_responder)
        return m_responder(request);

    QMessageBox box(parent);
    box.setWindowTitle(request.title);
    box.setText(displayText(request.text));
    box.setTextFormat(Qt::PlainText);
    switch (request.icon) {
    case MessageIcon::None:
        box.setIcon(QMessageBox::NoIcon);
        break;
    case MessageIcon::Information:
        box.setIcon(QMessageBox::Information);
        break;
    case MessageIcon::Warning:
        box.setIcon(QMessageBox::Warning);
        break;
    case MessageIcon::Critical:
        box.setIcon(QMessageBox::Critical);
        break;
    }
    struct Choice
    {
        QMessageBox::StandardButton button;
        MessageResult result;
    };
    QList<Choice> choices;
    switch (request.buttons) {
    case MessageButtons::Ok:
        choices = {{QMessageBox::Ok, MessageResult::Ok}};
        break;
    case MessageButtons::OkCancel:
        choices = {{QMessageBox::Ok, MessageResult::Ok},
                   {QMessageBox::Cancel, MessageResult::Cancel}};
        break;
    case MessageButtons::YesNo:
        choices = {{QMessageBox::Yes, MessageResult::Yes}, {QMessageBox::No, MessageResult::No}};
        break;
    }
    for (const Choice &c : choices) {
        box.addButton(c.button);
        if (c.result == request.defaultButton)
            box.setDefaultButton(c.button);
    }
    // Closing the box by its frame counts as the negative answer.
    box.setEscapeButton(choices.size() > 1 ? choices.last().button : choices.first().button);
    box.exec();
    const auto pressed = box.standardButton(box.clickedButton());
    for (const Choice &c : choices) {
        if (c.button == pressed)
            return c.result;
    }
    return choices.size() > 1 ? choices.last().result : choices.first().result;
}

QString Dialogs::chooseFile(const FileRequest &request, QWidget *parent) const
{
    if (m_fileResponder)
        return m_fileResponder(request);
    // Every typed name comes back to the program, which checks it itself ("File does not
    // exist", "File Already Exists"): neither Qt's nor the desktop's dialog may refuse it first.
    QFileDialog dialog(parent, request.title, QString(), request.filter);
    dialog.setOptions(QFileDialog::DontUseNativeDialog | QFileDialog::DontConfirmOverwrite);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setAcceptMode(request.kind == FileDialog::Open ? QFileDialog::AcceptOpen
                                                          : QFileDialog::AcceptSave);
    if (dialog.exec() != QDialog::Accepted)
        return {};
    return dialog.selectedFiles().value(0);
}
