// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include "view/MainView.h"

#include <QString>

#include <functional>

class QWidget;

// Every message box and file dialog of the configurator is built here, so that tests can
// answer them through one seam and the texts stay exactly as the operators know them.
class Dialogs
{
public:
    struct Request
    {
        QString text; // line breaks as the system writes them (CR LF or CR)
        QString title;
        MessageButtons buttons = MessageButtons::Ok;
        MessageIcon icon = MessageIcon::None;
        MessageResult defaultButton = MessageResult::Ok;
    };
    struct FileRequest
    {
        FileDialog kind = FileDialog::Open;
        QString title;
        QString filter;
    };
    using Responder = std::function<MessageResult(const Request &)>;
    using FileResponder = std::function<QString(const FileRequest &)>;

    MessageResult messageBox(const Request &request, QWidget *parent = nullptr) const;
    QString chooseFile(const FileRequest &request, QWidget *parent = nullptr) const;

    // Tests answer instead of the operator.
    void setResponder(Responder responder) { m_responder = std::move(responder); }
    void setFileResponder(FileResponder responder) { m_fileResponder = std::move(responder); }

    // CR LF and lone CR as line feeds, for display.
    static QString displayText(const QString &text);

private:
    Responder m_responder;
    FileResponder m_fileResponder;
};
