#include "UserRulesetFile.h"

#include "RuleManager.h"

#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quiven::filterd {
namespace {

QString systemError(const QString &what, const QString &path)
{
    const int number = errno;
    return QStringLiteral("%1 '%2': %3 (%4)")
        .arg(what, path, QString::fromLocal8Bit(std::strerror(number)))
        .arg(number);
}

bool writeAll(int fd, const QByteArray &bytes)
{
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t written = ::write(fd, bytes.constData() + done, size_t(bytes.size() - done));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        done += written;
    }
    return true;
}

// An open descriptor that closes itself.
class Descriptor
{
public:
    explicit Descriptor(int fd)
        : m_fd(fd)
    {}
    ~Descriptor()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    int get() const { return m_fd; }
    bool isOpen() const { return m_fd >= 0; }
    // Closes now, reporting the failure that close() may be the first to see.
    bool close()
    {
        const int fd = m_fd;
        m_fd = -1;
        return ::close(fd) == 0;
    }

private:
    int m_fd;
};

} // namespace

UserRuleset readUserRuleset(const QString &path)
{
    if (!QFileInfo::exists(path))
        return {};
    const auto manager = RuleManager::withContentsOfFile(path, false);
    return {manager->userWatchRules(), manager->userPolicies()};
}

bool writeUserRuleset(const QString &path, const UserRuleset &ruleset, QString *error)
{
    QString text;
    for (const auto &rule : ruleset.watchRules)
        text += rule->toString();
    for (const auto &rule : ruleset.policyRules)
        text += rule->toString();

    const QFileInfo target(path);
    QDir().mkpath(target.absolutePath());
    const Descriptor folder(
        ::open(QFile::encodeName(target.absolutePath()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen()) {
        *error = systemError(QStringLiteral("Failed to open the folder of"), path);
        return false;
    }
    const QByteArray name = QFile::encodeName(target.fileName());
    // The folder is shared with the users: a link planted there must not make
    // root overwrite its target. Rename below replaces a name, never follows it.
    mode_t mode = 0644;
    struct stat existing = {};
    if (::fstatat(folder.get(), name.constData(), &existing, AT_SYMLINK_NOFOLLOW) == 0) {
        if (S_ISLNK(existing.st_mode)) {
            *error = QStringLiteral("Refused to write '%1': it is a symbolic link").arg(path);
            return false;
        }
        mode = existing.st_mode & 0777;
    }

    const QByteArray temporary =
        '.' + name + '.' + QByteArray::number(QRandomGenerator::system()->generate64(), 16);
    Descriptor file(::openat(folder.get(), temporary.constData(),
                             O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file.isOpen()) {
        *error = systemError(QStringLiteral("Failed to create a temporary file for"), path);
        return false;
    }
    const bool written = writeAll(file.get(), text.toUtf8()) && ::fchmod(file.get(), mode) == 0 &&
                         ::fsync(file.get()) == 0 && file.close() &&
                         ::renameat(folder.get(), temporary.constData(), folder.get(), name.constData()) == 0;
    if (!written) {
        *error = systemError(QStringLiteral("Failed to write"), path);
        ::unlinkat(folder.get(), temporary.constData(), 0);
        return false;
    }
    // The rename itself reaches the disk only with its folder.
    ::fsync(folder.get());
    return true;
}

} // namespace quiven::filterd
