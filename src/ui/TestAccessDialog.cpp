#include "TestAccessDialog.h"

#include "NVCEditPolicyUI.h"
#include "Utilities.h"
#include "ui_TestAccessDialog.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>

namespace {

// Operation bits in the order of the operation pop-up: read, write, create, modify, execute.
constexpr quint32 kOperations[] = {1, 2, 4, 8, 16};

} // namespace

TestAccessDialog::TestAccessDialog(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::TestAccessDialog>())
{
    ui->setupUi(this);
    m_testButton = ui->buttonBox->addButton(tr("Test"), QDialogButtonBox::AcceptRole);
    m_testButton->setDefault(true);
    connect(ui->buttonBox, &QDialogButtonBox::accepted, this, &TestAccessDialog::accept);
    connect(ui->buttonBox, &QDialogButtonBox::rejected, this, &QDialog::reject);
    for (QLineEdit *field : {ui->programTextField, ui->parentTextField, ui->pathTextField})
        connect(field, &QLineEdit::textChanged, this, &TestAccessDialog::updateUI);
    connect(ui->browseProgramButton, &QPushButton::clicked, this,
            [this] { browse(ui->programTextField, true); });
    connect(ui->browseParentButton, &QPushButton::clicked, this,
            [this] { browse(ui->parentTextField, true); });
    connect(ui->browsePathButton, &QPushButton::clicked, this, [this] { browse(ui->pathTextField, false); });
    updateUI();
}

TestAccessDialog::~TestAccessDialog() = default;

FileAccess TestAccessDialog::access() const
{
    FileAccess access;
    access.program = ui->programTextField->text().trimmed();
    const QString parent = ui->parentTextField->text().trimmed();
    if (!parent.isEmpty())
        access.parent = parent;
    access.path = ui->pathTextField->text().trimmed();
    access.operation =
        kOperations[qBound(0, ui->operationPopUp->currentIndex(), int(std::size(kOperations)) - 1)];
    access.homeFolder = QDir::homePath();
    return access;
}

void TestAccessDialog::updateUI()
{
    const QString program = ui->programTextField->text().trimmed();
    const QString parent = ui->parentTextField->text().trimmed();
    const QString path = ui->pathTextField->text().trimmed();
    // Marks only: a rule may well be about a program or file that is not here.
    const auto executable = [](const QString &text) {
        return NVCEditPolicyUI::isExecutableAtPath(Utilities::expandTilde(text));
    };
    NVCEditPolicyUI::setBorderOf(ui->programTextField, program.isEmpty() || executable(program));
    NVCEditPolicyUI::setBorderOf(ui->parentTextField, parent.isEmpty() || executable(parent));
    NVCEditPolicyUI::setBorderOf(ui->pathTextField, path.isEmpty() || path.startsWith(u':') ||
                                                        QFileInfo::exists(Utilities::expandTilde(path)));
    m_testButton->setEnabled(!program.isEmpty() && !path.isEmpty());
}

void TestAccessDialog::browse(QLineEdit *field, bool programs)
{
    const QString typed = Utilities::expandTilde(field->text().trimmed());
    auto *panel = new QFileDialog(this, tr("Use Path"), typed.isEmpty() ? QDir::homePath() : typed);
    panel->setOption(QFileDialog::DontUseNativeDialog);
    panel->setFileMode(programs ? QFileDialog::ExistingFile : QFileDialog::AnyFile);
    panel->setAttribute(Qt::WA_DeleteOnClose);
    connect(panel, &QFileDialog::fileSelected, field, &QLineEdit::setText);
    panel->open();
}

void TestAccessDialog::accept()
{
    if (!m_testButton->isEnabled())
        return;
    Q_EMIT accessChosen(access());
    QDialog::accept();
}
