#include "RuleFileSource.h"

#include "RuleLogging.h"

#include <QCoreApplication>
#include <QFile>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <new>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString tr(const char *text)
{
    return QCoreApplication::translate("RuleManager", text);
}

// A large file is read into fresh memory, which the kernel maps and clears
// page by page as the read fills it. In 2 MiB pages that is a few hundred
// steps for a file of a million rules instead of some thirty thousand.
void adviseLargePages(char *data, qsizetype size)
{
#if defined(MADV_HUGEPAGE)
    constexpr std::uintptr_t kLargePage = std::uintptr_t(2) << 20;
    const auto begin = reinterpret_cast<std::uintptr_t>(data);
    const std::uintptr_t first = (begin + kLargePage - 1) & ~(kLargePage - 1);
    const std::uintptr_t last = (begin + std::uintptr_t(size)) & ~(kLargePage - 1);
    // Only a hint: where large pages cannot be had, the read goes on in small ones.
    if (last > first)
        ::madvise(reinterpret_cast<void *>(first), last - first, MADV_HUGEPAGE);
#else
    Q_UNUSED(data);
    Q_UNUSED(size);
#endif
}

} // namespace

std::optional<QByteArray> loadRuleFileBytes(const QString &path, QString *errorMessage)
{
    if (path.isNull() || path.contains(QChar(u'\0'))) {
        qCWarning(lcRuleManagement, "Could not open null path");
        *errorMessage = tr("Internal error: the path provided was null");
        return std::nullopt;
    }
    const QByteArray fileSystemPath = QFile::encodeName(path);
    const QString loadFailure = tr("failed to load contents of %1").arg(path);

    // The link itself is measured, so that a symbolic link reaches the open below and is refused there.
    struct stat status;
    if (::lstat(fileSystemPath.constData(), &status) != 0 || status.st_size <= 0) {
        *errorMessage = loadFailure;
        return std::nullopt;
    }
    const qsizetype size = qsizetype(status.st_size);

    QByteArray buffer;
    try {
        buffer.resize(size + 1);
    } catch (const std::bad_alloc &) {
        qCWarning(lcRuleManagement, "failed to allocate buffer for %s", qUtf8Printable(path));
        *errorMessage = tr("Internal error: unable to allocate memory");
        return std::nullopt;
    }

    adviseLargePages(buffer.data(), size);

    const int descriptor = ::open(fileSystemPath.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    // Descriptor 0 is refused as well: the reader never works on the standard-input slot.
    if (descriptor <= 0) {
        const int error = descriptor == 0 ? EBADF : errno;
        if (descriptor == 0)
            ::close(descriptor);
        *errorMessage = tr("Failed to open file '%1' for reading: %2 (%3)")
                            .arg(path, systemErrorText(error), QString::number(error));
        return std::nullopt;
    }
    const ssize_t bytesRead = ::read(descriptor, buffer.data(), std::size_t(size));
    if (bytesRead != ssize_t(size)) {
        const int error = errno;
        ::close(descriptor);
        *errorMessage = tr("Failed to read() file '%1': %2 (%3)")
                            .arg(path, systemErrorText(error), QString::number(error));
        return std::nullopt;
    }
    ::close(descriptor);
    buffer[size] = '\0';

    // The text ends at the first NUL byte; a sequence cut off at the end is invalid too.
    buffer.truncate(qstrnlen(buffer.constData(), std::size_t(size)));
    if (!buffer.isValidUtf8()) {
        *errorMessage = loadFailure;
        return std::nullopt;
    }
    if (buffer.startsWith("\xEF\xBB\xBF"))
        buffer.remove(0, 3);
    return buffer;
}
