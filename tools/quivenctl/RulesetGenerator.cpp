#include "RulesetGenerator.h"

#include <QList>
#include <QSet>
#include <QString>
#include <array>
#include <cmath>

namespace {

// splitmix64: tiny, fast and identical on every platform, unlike the
// standard library's distributions.
class Random
{
public:
    explicit Random(quint64 seed)
        : m_state(seed)
    {}

    quint64 next()
    {
        quint64 z = (m_state += 0x9e3779b97f4a7c15ULL);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
        return z ^ (z >> 31);
    }
    qsizetype below(qsizetype bound) { return bound <= 0 ? 0 : qsizetype(next() % quint64(bound)); }
    double unit() { return double(next() >> 11) * (1.0 / 9007199254740992.0); }
    bool chance(double p) { return unit() < p; }
    template <typename T, std::size_t N> const T &pick(const std::array<T, N> &items)
    {
        return items[std::size_t(below(qsizetype(N)))];
    }

private:
    quint64 m_state;
};

constexpr std::array<const char *, 16> kSyllables{"ka",  "lo",  "mer", "tri", "van", "zu",  "pex", "dor",
                                                  "sil", "qua", "ren", "bo",  "nix", "tal", "fe",  "gra"};
constexpr std::array<const char *, 8> kUsers{"alice", "bob",   "carol", "dave",
                                             "erin",  "frank", "grace", "heidi"};
constexpr std::array<const char *, 10> kParents{
    "/usr/bin/bash", "/usr/bin/zsh",  "/usr/bin/python3", "/usr/lib/systemd/systemd", "/usr/bin/sudo",
    "/usr/bin/env",  "/usr/bin/make", "/usr/bin/ssh",     "/usr/sbin/cron",           "/usr/bin/gnome-shell"};
constexpr std::array<const char *, 8> kTags{"",
                                            "",
                                            "",
                                            "added by admin",
                                            "learned during setup",
                                            "ticket 4711 approved",
                                            "imported from failsafe",
                                            "keep for backup job"};
constexpr std::array<const char *, 12> kFolders{"Documents", "Downloads", ".ssh",     ".config",
                                                "Pictures",  "My Files",  "Projects", ".gnupg",
                                                "Music",     "Desktop",   "Mail",     ".local/share"};
constexpr std::array<const char *, 6> kSystemPaths{"/etc/",          "/var/log/",         "/usr/share/",
                                                   "/var/lib/dpkg/", "/etc/ssl/private/", "/boot/"};
constexpr std::array<const char *, 6> kSuffixes{".key", ".pem", ".sqlite", ".conf", ".log", ".kdbx"};
constexpr std::array<const char *, 7> kOptions{
    "policy.global.user",      "policy.global.webcam", "policy.global.startup",   "policy.global.exec",
    "ui.prompts.while_locked", "filter.use-tval",      "security.hashing.enforce"};

struct Application
{
    QString processName;
    QString constraint;
};

QString hexDigits(Random &random, int count)
{
    static const char digits[] = "0123456789abcdef";
    QString text;
    text.reserve(count);
    for (int i = 0; i < count; ++i)
        text += QLatin1Char(digits[random.below(16)]);
    return text;
}

QString teamIdentifier(Random &random)
{
    static const char characters[] = "ABCDEFGHJKLMNPQRSTUVWXYZ0123456789";
    QString text;
    for (int i = 0; i < 10; ++i)
        text += QLatin1Char(characters[random.below(34)]);
    return text;
}

QString constraintFor(Random &random)
{
    const double u = random.unit();
    if (u < 0.40)
        return QString(QLatin1String(""));
    if (u < 0.60)
        return teamIdentifier(random);
    if (u < 0.70)
        return hexDigits(random, 40);
    if (u < 0.85)
        return hexDigits(random, 64);
    if (u < 0.95)
        return QStringLiteral("APPLE_PF_BINARY");
    return QStringLiteral("APPLECOMPUTER");
}

QString programName(Random &random, qsizetype index)
{
    QString name;
    const qsizetype parts = 2 + random.below(2);
    for (qsizetype i = 0; i < parts; ++i)
        name += QLatin1String(random.pick(kSyllables));
    // The index keeps every application distinct however the syllables fall.
    return name + QString::number(index);
}

QString programPath(Random &random, const QString &name)
{
    switch (random.below(6)) {
    case 0:
        return QStringLiteral("/usr/bin/") + name;
    case 1:
        return QStringLiteral("/opt/") + name + QStringLiteral("/bin/") + name;
    case 2:
        return QStringLiteral("/usr/lib/") + name + QLatin1Char('/') + name + QStringLiteral("-helper");
    case 3:
        return QStringLiteral("/home/") + QLatin1String(random.pick(kUsers)) +
               QStringLiteral("/.local/bin/") + name;
    case 4: {
        QString title = name;
        title[0] = title[0].toUpper();
        return QStringLiteral("/Applications/") + title + QStringLiteral(".app/Contents/MacOS/") + title;
    }
    default:
        return QStringLiteral("/usr/libexec/") + name + QLatin1Char('d');
    }
}

QString processNameFor(Random &random, const QString &program)
{
    const double u = random.unit();
    if (u < 0.72)
        return program;
    if (u < 0.84)
        return program + QStringLiteral(" via ") + QLatin1String(random.pick(kParents));
    if (u < 0.88)
        return program + QStringLiteral(" via any");
    if (u < 0.92) {
        const QString parent = QLatin1String(random.pick(kParents));
        return QStringLiteral("any via ") + parent.mid(parent.lastIndexOf(QLatin1Char('/')) + 1);
    }
    if (u < 0.96)
        return QStringLiteral("any ancestor ") + QLatin1String(random.pick(kParents));
    return QStringLiteral("any");
}

QList<Application> makeApplications(Random &random, qsizetype count)
{
    QList<Application> applications;
    applications.reserve(count);
    for (qsizetype i = 0; i < count; ++i) {
        const QString program = programPath(random, programName(random, i));
        applications.append({processNameFor(random, program), constraintFor(random)});
    }
    return applications;
}

QString operationLetters(Random &random)
{
    static const char letters[] = "rwcmx";
    const quint64 bits = 1 + random.below(31);
    QString text;
    for (int bit = 0; bit < 5; ++bit) {
        if (bits & (1u << bit))
            text += QLatin1Char(letters[bit]);
    }
    return text;
}

// Paths carry the rule's index so that lines stay distinct and the reader
// keeps every one of them; "any" is offered only when `anyAllowed`.
QString pathFor(Random &random, const QString &type, qsizetype index, bool anyAllowed)
{
    if (anyAllowed && random.chance(0.05))
        return QStringLiteral("any");
    if (type == QLatin1String("suffix"))
        return QStringLiteral("-") + QString::number(index) + QLatin1String(random.pick(kSuffixes));
    const QString user = QLatin1String(random.pick(kUsers));
    QString base;
    switch (random.below(4)) {
    case 0:
        base = QLatin1String(random.pick(kSystemPaths));
        break;
    case 1:
        base = QStringLiteral("~/") + QLatin1String(random.pick(kFolders)) + QLatin1Char('/');
        break;
    default:
        base = QStringLiteral("/home/") + user + QLatin1Char('/') + QLatin1String(random.pick(kFolders)) +
               QLatin1Char('/');
        break;
    }
    if (type == QLatin1String("prefix"))
        return base + QStringLiteral("area-") + QString::number(index) + QLatin1Char('/');
    return base + QStringLiteral("file-") + QString::number(index) + QStringLiteral(".dat");
}

QString typeWord(Random &random)
{
    const double u = random.unit();
    return u < 0.55 ? QStringLiteral("prefix") : u < 0.9 ? QStringLiteral("path") : QStringLiteral("suffix");
}

qsizetype zipfIndex(Random &random, qsizetype count)
{
    // Cubing a uniform draw skews towards the first applications: a few get
    // thousands of rules, most get a handful.
    return qMin(count - 1, qsizetype(double(count) * std::pow(random.unit(), 3.0)));
}

} // namespace

QByteArray generateRuleset(const RulesetGeneratorOptions &options)
{
    Random random(options.seed);
    const qsizetype total = qMax<qsizetype>(0, options.rules);
    const qsizetype shared = qBound<qsizetype>(0, options.sharedGroupRules, total);
    const QList<Application> applications = makeApplications(random, qMax<qsizetype>(1, total / 10));
    const Application sharedApplication{QStringLiteral("/usr/lib/firefox-esr/firefox-esr"),
                                        QStringLiteral("APPLE_PF_BINARY")};
    const qint64 baseTime = 1700000000;
    QSet<QString> groupsWithAnyPath;

    QString text;
    text.reserve(total * 130 + 512);
    text += QStringLiteral("; generated ruleset, seed ") + QString::number(options.seed) + QLatin1Char('\n');
    for (const char *option : kOptions)
        text += QStringLiteral("set ") + QLatin1String(option) + QLatin1Char(' ') +
                QString::number(random.below(3)) + QLatin1Char('\n');

    for (qsizetype i = 0; i < total; ++i) {
        // Spread the shared group's rules evenly through the file.
        const bool inSharedGroup = shared > 0 && (i + 1) * shared / total > i * shared / total;
        const Application &application =
            inSharedGroup ? sharedApplication : applications[zipfIndex(random, applications.size())];
        // Applications such as "any via bash" share a group, so "any" is
        // rationed per process text and constraint, not per application.
        const QString groupKey = application.processName + QLatin1Char('\n') + application.constraint;
        const QString type = typeWord(random);
        const QString path = pathFor(random, type, i, !groupsWithAnyPath.contains(groupKey));
        if (path == QLatin1String("any"))
            groupsWithAnyPath.insert(groupKey);
        const QString tag = QLatin1String(random.pick(kTags));

        if (!inSharedGroup && random.chance(0.03)) {
            text += QStringLiteral("watch ") + type + QStringLiteral(" \"") + path + QStringLiteral("\" \"") +
                    application.processName + QStringLiteral("\" ") + operationLetters(random) +
                    QStringLiteral(" \"") + tag + QStringLiteral("\"\n");
            continue;
        }
        const QString classWord = random.chance(0.7) ? QStringLiteral("allow") : QStringLiteral("deny");
        const qint64 created = random.chance(0.1) ? 0 : baseTime + qint64(random.below(60000000));
        text += classWord + QLatin1Char(' ') + type + QStringLiteral(" \"") + path + QStringLiteral("\" \"") +
                application.processName + QStringLiteral("\" ") + operationLetters(random) +
                QStringLiteral(" \"") + tag + QStringLiteral("\" \"") + application.constraint +
                QStringLiteral("\" \"") + QString::number(created) + QStringLiteral("\"\n");
    }
    return text.toUtf8();
}
