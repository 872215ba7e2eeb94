#include "DGPreferencesWindow.h"

#include "PreferencesFile.h"
#include "PreferencesPropertyList.h"
#include "ProductFolders.h"
#include "RulesDirtyFlag.h"
#include "ui_DGPreferencesWindow.h"

#include <QCloseEvent>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QPointer>
#include <QProcess>
#include <sys/stat.h>

Q_LOGGING_CATEGORY(lcDGPreferencesWindow, "com.norvalis.DGPreferencesWindow")

namespace {

// Switches stored as 1 (on) and 2 (off), with the state a missing value reads as.
struct TwoStateOption
{
    const char *key;
    bool onUnlessTwo; // on unless the value is 2; otherwise off unless it is 1
};

constexpr TwoStateOption kTwoStateOptions[] = {
    {"policy.global.user", true},      {"policy.global.webcam", true},    {"policy.global.startup", true},
    {"policy.global.exec", true},      {"policy.global.attach", true},    {"ui.prompts.while_locked", true},
    {"ui.prompts.oob", false},         {"policy.global.paranoid", false}, {"ui.prompts.remote", false},
    {"ui.prompts.authenticate", false}};

QVariantMap readSettings()
{
    return readPreferencesFile(ProductFolders::preferencesFile()).value_or(QVariantMap());
}

QString key(const char *name)
{
    return QString::fromLatin1(name);
}

} // namespace

DGPreferencesWindow::DGPreferencesWindow(bool isAdminUser, const Authenticator &performAuthentication,
                                         QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::DGPreferencesWindow>())
    , m_isAdminUser(isAdminUser)
{
    ui->setupUi(this);
    const QString levels[] = {tr("Basic"), tr("Standard"), tr("Detailed")};
    for (int tag = 0; tag < int(std::size(levels)); ++tag)
        ui->levelOfDetailPopUpButton->addItem(levels[tag], tag);
    connect(ui->createRulesCheckBox, &QAbstractButton::clicked, this,
            &DGPreferencesWindow::clickedCreateRules);
    connect(ui->saveButton, &QAbstractButton::clicked, this, &DGPreferencesWindow::clickedOK);
    windowDidLoad();

    if (!m_isAdminUser)
        return;
    // Read-only until the user has authenticated; the window keeps drawing meanwhile.
    QPointer<DGPreferencesWindow> self(this);
    performAuthentication(this, [self](bool authenticated) {
        if (!self)
            return;
        self->m_authenticated = authenticated;
        self->setEditable(authenticated);
        Q_EMIT self->authenticationFinished(authenticated);
    });
}

DGPreferencesWindow::~DGPreferencesWindow() = default;

QString DGPreferencesWindow::hostProductConfigurationPath()
{
    return QStringLiteral("/opt/norvalis/nvmac/config/parameters");
}

QList<QCheckBox *> DGPreferencesWindow::twoStateBoxes() const
{
    // In the order of kTwoStateOptions.
    return {ui->whitelistPreloadedCheckBox,
            ui->monitorWebcamCheckbox,
            ui->monitorStartupCheckBox,
            ui->monitorExecutionCheckBox,
            ui->monitorAttachCheckBox,
            ui->promptsLockedCheckBox,
            ui->requireTouchBarCheckBox,
            ui->strictSystemRulesCheckBox,
            ui->allowRemoteAdministrationCheckBox,
            ui->requireAuthenticationCheckBox};
}

void DGPreferencesWindow::windowDidLoad()
{
    m_initialPermissions = canCreateRules();
    ui->createRulesCheckBox->setChecked(m_initialPermissions);
    ui->restrictRulesCheckBox->setEnabled(m_initialPermissions);

    m_settings = readSettings();
    ui->restrictRulesCheckBox->setChecked(m_settings.value(key("access.user.restrict")).toBool());
    ui->allowSignedExecutionCheckBox->setChecked(m_settings.value(key("filter.exec.allow.signed")).toBool());
    const QList<QCheckBox *> boxes = twoStateBoxes();
    for (int i = 0; i < boxes.size(); ++i) {
        const qlonglong value = m_settings.value(key(kTwoStateOptions[i].key)).toLongLong();
        boxes[i]->setChecked(kTwoStateOptions[i].onUnlessTwo ? value != 2 : value == 1);
    }
    const int level =
        ui->levelOfDetailPopUpButton->findData(m_settings.value(key("access.user.detail")).toInt());
    if (level >= 0)
        ui->levelOfDetailPopUpButton->setCurrentIndex(level);

    ui->useTVAL->setEnabled(QFileInfo::exists(hostProductConfigurationPath()));
    setEditable(false);
}

void DGPreferencesWindow::setEditable(bool editable)
{
    QList<QWidget *> controls{ui->createRulesCheckBox, ui->levelOfDetailPopUpButton,
                              ui->allowSignedExecutionCheckBox};
    for (QCheckBox *box : twoStateBoxes())
        controls.append(box);
    for (QWidget *control : controls)
        control->setEnabled(editable);
    ui->restrictRulesCheckBox->setEnabled(editable && ui->createRulesCheckBox->isChecked());
    ui->saveButton->setText(editable ? tr("Save") : tr("OK"));
}

void DGPreferencesWindow::clickedCreateRules()
{
    ui->restrictRulesCheckBox->setEnabled(ui->createRulesCheckBox->isChecked());
}

bool DGPreferencesWindow::canCreateRules()
{
    struct stat status = {};
    const QByteArray folder = QFile::encodeName(ProductFolders::sharedDirectory());
    if (::stat(folder.constData(), &status) != 0)
        return false;
    qCDebug(lcDGPreferencesWindow, "posix mask for rules folder is %ld", long(status.st_mode & 07777));
    return status.st_mode & S_IWOTH;
}

void DGPreferencesWindow::clickedOK()
{
    if (m_isAdminUser && m_authenticated) {
        // The filter reads these with the rules: they apply at the next reload.
        RulesDirtyFlag::set(true);
        m_settings = readSettings();
        setFolderPermissions();

        m_settings.insert(key("access.user.detail"),
                          ui->levelOfDetailPopUpButton->currentData().toLongLong());
        m_settings.insert(key("access.user.restrict"), ui->restrictRulesCheckBox->isChecked());
        m_settings.insert(key("access.user.create"), ui->createRulesCheckBox->isChecked());
        m_settings.insert(key("filter.exec.allow.signed"), ui->allowSignedExecutionCheckBox->isChecked());
        const QList<QCheckBox *> boxes = twoStateBoxes();
        for (int i = 0; i < boxes.size(); ++i)
            m_settings.insert(key(kTwoStateOptions[i].key), qlonglong(boxes[i]->isChecked() ? 1 : 2));
        // Unlike the other switches, 0 is off here.
        m_settings.insert(key("policy.use-tval"), qlonglong(ui->useTVAL->isChecked() ? 1 : 0));

        qCDebug(lcDGPreferencesWindow) << "writing to file:" << m_settings;
        const QString path = ProductFolders::preferencesFile();
        if (writePreferencesPropertyList(path, m_settings))
            QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                            QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup |
                                            QFile::ReadOther | QFile::ExeOther);
    }
    close();
}

void DGPreferencesWindow::setFolderPermissions()
{
    const bool createRules = ui->createRulesCheckBox->isChecked();
    if (createRules == m_initialPermissions)
        return;
    const QStringList arguments{QStringLiteral("/bin/chmod"),
                                createRules ? QStringLiteral("777") : QStringLiteral("775"),
                                ProductFolders::sharedDirectory()};
    qCDebug(lcDGPreferencesWindow).noquote() << "script source: pkexec" << arguments.join(u' ');
    // The administrator prompt may stay up for minutes: nothing waits for it.
    auto *process = new QProcess(this);
    connect(process, &QProcess::finished, this,
            [this, process](int exitCode, QProcess::ExitStatus exitStatus) {
                const int result = exitStatus == QProcess::NormalExit ? exitCode : -1;
                if (result != 0)
                    qCWarning(lcDGPreferencesWindow).noquote()
                        << "Changing the rules folder's mode failed:" << result
                        << process->readAllStandardError();
                process->deleteLater();
                Q_EMIT folderPermissionsChanged(result);
            });
    connect(process, &QProcess::errorOccurred, this, [this, process](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart)
            return;
        qCWarning(lcDGPreferencesWindow).noquote()
            << "Changing the rules folder's mode failed:" << process->errorString();
        process->deleteLater();
        Q_EMIT folderPermissionsChanged(-1);
    });
    process->start(QStringLiteral("pkexec"), arguments);
}

void DGPreferencesWindow::closeEvent(QCloseEvent *event)
{
    qCDebug(lcDGPreferencesWindow, "-[DGPreferencesWindow windowWillClose:] exiting");
    event->accept();
    Q_EMIT windowWillClose();
}

void DGPreferencesWindow::reject()
{
    close();
}
