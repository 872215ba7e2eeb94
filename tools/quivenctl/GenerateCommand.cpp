#include "CommandLine.h"
#include "CommandRegistry.h"
#include "RulesetGenerator.h"

namespace quivenctl {
namespace {

const QString kUsage = QStringLiteral("generate --rules N [--seed S] [--shared-group K]");

bool readCount(const QCommandLineParser &parser, const QString &name, quint64 *value)
{
    bool ok = false;
    *value = parser.value(name).toULongLong(&ok);
    return ok;
}

int generate(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.addOption({QStringLiteral("rules"), QStringLiteral("Rule lines to emit."), QStringLiteral("N")});
    parser.addOption(
        {QStringLiteral("seed"), QStringLiteral("Random seed."), QStringLiteral("S"), QStringLiteral("1")});
    parser.addOption({QStringLiteral("shared-group"), QStringLiteral("Rules that share one group."),
                      QStringLiteral("K"), QStringLiteral("0")});
    if (!parseArguments(parser, arguments, kUsage))
        return ExitUsage;
    if (!parser.positionalArguments().isEmpty())
        return usageError(QStringLiteral("unexpected argument ") + parser.positionalArguments().first(),
                          kUsage);

    quint64 rules = 0, seed = 0, shared = 0;
    if (!parser.isSet(QStringLiteral("rules")) || !readCount(parser, QStringLiteral("rules"), &rules))
        return usageError(QStringLiteral("--rules needs a non-negative number"), kUsage);
    if (!readCount(parser, QStringLiteral("seed"), &seed))
        return usageError(QStringLiteral("--seed needs a non-negative number"), kUsage);
    if (!readCount(parser, QStringLiteral("shared-group"), &shared) || shared > rules)
        return usageError(QStringLiteral("--shared-group needs a number no larger than --rules"), kUsage);
    // Guards against a typo producing gigabytes of output.
    if (rules > 10'000'000)
        return usageError(QStringLiteral("--rules is limited to 10000000"), kUsage);

    printBytes(generateRuleset({qsizetype(rules), seed, qsizetype(shared)}));
    return ExitSuccess;
}

const CommandRegistration registration(QStringLiteral("generate"), kUsage, generate);

} // namespace
} // namespace quivenctl
