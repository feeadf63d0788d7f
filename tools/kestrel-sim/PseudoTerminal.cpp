// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "PseudoTerminal.h"

#include <QFile>
#include <QFileInfo>

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

QString systemError(const QString &what)
{
    return what + u": "_s + QString::fromLocal8Bit(std::strerror(errno));
}

// Whether one of the process's descriptors is the given terminal.
bool holds(const QByteArray &fdDirectory, const QByteArray &terminal)
{
    DIR *fds = ::opendir(fdDirectory.constData());
    if (!fds)
        return false; // gone meanwhile, or not ours to look at
    bool found = false;
    while (const dirent *fd = found ? nullptr : ::readdir(fds)) {
        char target[256];
        const QByteArray link = fdDirectory + '/' + fd->d_name;
        const ssize_t length = ::readlink(link.constData(), target, sizeof target);
        found = length > 0 && QByteArrayView(target, length) == terminal;
    }
    ::closedir(fds);
    return found;
}

} // namespace

bool PseudoTerminal::open(QString *error)
{
    m_master = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (m_master < 0) {
        *error = systemError(u"posix_openpt"_s);
        return false;
    }
    const char *name = nullptr;
    if (::grantpt(m_master) != 0 || ::unlockpt(m_master) != 0 ||
        (name = ::ptsname(m_master)) == nullptr) {
        *error = systemError(u"preparing the pseudo-terminal"_s);
        close();
        return false;
    }
    m_slavePath = QString::fromLocal8Bit(name);
    m_slave = ::open(name, O_RDWR | O_NOCTTY);
    termios line{};
    if (m_slave < 0 || ::tcgetattr(m_slave, &line) != 0) {
        *error = systemError(u"opening "_s + m_slavePath);
        close();
        return false;
    }
    // Without raw mode the slave would echo our replies back to us and turn CR into LF.
    ::cfmakeraw(&line);
    ::cfsetispeed(&line, B9600);
    ::cfsetospeed(&line, B9600);
    line.c_cflag |= CLOCAL | CREAD;
    if (::tcsetattr(m_slave, TCSANOW, &line) != 0) {
        *error = systemError(u"setting the line of "_s + m_slavePath);
        close();
        return false;
    }
    ::fcntl(m_master, F_SETFL, ::fcntl(m_master, F_GETFL) | O_NONBLOCK);
    ::fcntl(m_master, F_SETFD, FD_CLOEXEC);
    ::fcntl(m_slave, F_SETFD, FD_CLOEXEC);
    m_watch = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_watch < 0 || ::inotify_add_watch(m_watch, name, IN_CLOSE) < 0) {
        *error = systemError(u"watching "_s + m_slavePath);
        close();
        return false;
    }
    return true;
}

void PseudoTerminal::portEvents()
{
    alignas(inotify_event) char buffer[4096];
    bool closed = false;
    ssize_t size = 0;
    while ((size = ::read(m_watch, buffer, sizeof buffer)) > 0) {
        for (const char *p = buffer; p < buffer + size;) {
            const auto *event = reinterpret_cast<const inotify_event *>(p);
            closed = closed || (event->mask & IN_CLOSE);
            p += sizeof(inotify_event) + event->len;
        }
    }
    // A serial port client may lock the line for itself (TIOCEXCL, as QSerialPort does) and
    // unlock it when it closes. One that dies cannot, and since our own descriptor keeps the
    // line alive the lock would outlast it and turn every later client away.
    int locked = 0;
    if (closed && ::ioctl(m_slave, TIOCGEXCL, &locked) == 0 && locked && !openElsewhere())
        ::ioctl(m_slave, TIOCNXCL);
}

bool PseudoTerminal::openElsewhere() const
{
    // The kernel keeps no count of a terminal's users that we could ask for, so look through
    // the processes' descriptors. Our clients are our own user's processes (the port belongs
    // to us and others may not read it), whose descriptors we may see.
    DIR *processes = ::opendir("/proc");
    if (!processes)
        return true; // cannot tell: leave the lock alone
    const QByteArray terminal = QFile::encodeName(m_slavePath);
    const QByteArray self = QByteArray::number(::getpid());
    bool found = false;
    while (const dirent *process = found ? nullptr : ::readdir(processes)) {
        const QByteArray pid(process->d_name);
        if (pid != self && std::isdigit(static_cast<unsigned char>(pid[0])))
            found = holds("/proc/" + pid + "/fd", terminal);
    }
    ::closedir(processes);
    return found;
}

bool PseudoTerminal::placeLink(const QString &path, QString *error)
{
    const QByteArray linkName = QFile::encodeName(path);
    const QFileInfo existing(path);
    if (existing.isDir() && !existing.isSymLink()) {
        *error = path + u" is a directory"_s;
        return false;
    }
    if ((existing.exists() || existing.isSymLink()) && ::unlink(linkName.constData()) != 0) {
        *error = systemError(u"removing "_s + path);
        return false;
    }
    if (::symlink(QFile::encodeName(m_slavePath).constData(), linkName.constData()) != 0) {
        *error = systemError(u"linking "_s + path);
        return false;
    }
    m_linkPath = path;
    return true;
}

void PseudoTerminal::close()
{
    if (!m_linkPath.isEmpty()) {
        // Only our own link goes: another instance may have taken the path over since.
        if (QFileInfo(m_linkPath).symLinkTarget() == m_slavePath)
            ::unlink(QFile::encodeName(m_linkPath).constData());
        m_linkPath.clear();
    }
    if (m_watch >= 0)
        ::close(m_watch);
    if (m_slave >= 0)
        ::close(m_slave);
    if (m_master >= 0)
        ::close(m_master);
    m_watch = m_slave = m_master = -1;
}

int PseudoTerminal::unreadByClient() const
{
    int count = 0;
    if (m_slave < 0 || ::ioctl(m_slave, FIONREAD, &count) != 0)
        return 0;
    return count;
}
