// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>

#include <functional>

// A port's notification that bytes have arrived, handed on between events: the device's
// readyRead is also emitted inside the blocking waits, where only a flag may be set, so one
// queued call stands for every burst that arrives before the event loop next runs.
class ReceiveNotice : public QObject
{
public:
    // An empty function detaches the receiver.
    void setHandler(std::function<void()> handler) { m_handler = std::move(handler); }

    // Connected directly to the device's readyRead.
    void arrived()
    {
        if (m_queued)
            return;
        m_queued = true;
        QMetaObject::invokeMethod(
            this,
            [this] {
                m_queued = false;
                if (m_handler)
                    m_handler();
            },
            Qt::QueuedConnection);
    }

private:
    std::function<void()> m_handler;
    bool m_queued = false;
};
