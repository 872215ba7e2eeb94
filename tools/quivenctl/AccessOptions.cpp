#include "AccessOptions.h"

#include "RuleManager.h"

#include <QDir>

namespace quivenctl {
namespace {

const QString kProcess = QStringLiteral("process");
const QString kParent = QStringLiteral("parent");
const QString kAncestor = QStringLiteral("ancestor");
const QString kPath = QStringLiteral("path");
const QString kOperation = QStringLiteral("operation");

bool isProgramPath(const QString &text)
{
    return text.startsWith(u'/') || text.startsWith(QLatin1String("~/"));
}

// Files may also be device paths such as ":NVRAM/...".
bool isFilePath(const QString &text)
{
    return isProgramPath(text) || text == u"~" || text.startsWith(u':');
}

} // namespace

void addAccessOptions(QCommandLineParser &parser)
{
    parser.addOptions({
        {kProcess, QStringLiteral("The program's full path."), QStringLiteral("program")},
        {kParent, QStringLiteral("The program that started it."), QStringLiteral("program")},
        {kAncestor, QStringLiteral("A program further up; repeat for more."), QStringLiteral("program")},
        {kPath, QStringLiteral("The file or folder."), QStringLiteral("path")},
        {kOperation, QStringLiteral("One of r, w, c, m, x."), QStringLiteral("letter")},
    });
}

std::optional<FileAccess> accessFromOptions(const QCommandLineParser &parser, QString *error)
{
    FileAccess access;
    access.homeFolder = QDir::homePath();
    access.program = parser.value(kProcess);
    access.path = parser.value(kPath);
    const QString letter = parser.value(kOperation);
    if (access.program.isEmpty() || access.path.isEmpty() || letter.isEmpty()) {
        *error = QStringLiteral("--process, --path and --operation are required");
        return std::nullopt;
    }
    if (parser.isSet(kParent) && parser.isSet(kAncestor)) {
        *error = QStringLiteral("give either --parent or --ancestor, not both");
        return std::nullopt;
    }
    if (parser.isSet(kParent))
        access.parent = parser.value(kParent);
    access.ancestors = parser.values(kAncestor);
    for (const QString &program : QStringList{access.program, access.parent} + access.ancestors) {
        if (!program.isNull() && !isProgramPath(program)) {
            *error = QStringLiteral("'%1' is not a program's full path").arg(program);
            return std::nullopt;
        }
    }
    if (!isFilePath(access.path)) {
        *error = QStringLiteral("'%1' is not a full path").arg(access.path);
        return std::nullopt;
    }
    access.operation = RuleManager::operationsForString(letter);
    if (letter.size() != 1 || access.operation == 0) {
        *error = QStringLiteral("--operation takes one of r, w, c, m, x, not '%1'").arg(letter);
        return std::nullopt;
    }
    return access;
}

} // namespace quivenctl
