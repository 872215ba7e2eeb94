#pragma once

#include "FileAccess.h"

#include <QDialog>
#include <memory>

class QLineEdit;
class QPushButton;

namespace Ui {
class TestAccessDialog;
}

// Asks for one file access (program, optional parent, file or folder,
// operation) to find the rules about it. The paths are checked as they are
// typed, like the rule editors do; Return applies.
class TestAccessDialog : public QDialog
{
    Q_OBJECT
public:
    explicit TestAccessDialog(QWidget *parent = nullptr);
    ~TestAccessDialog() override;

    FileAccess access() const;
    QPushButton *testButton() const { return m_testButton; }

    void accept() override;

Q_SIGNALS:
    void accessChosen(const FileAccess &access);

private:
    void updateUI();
    void browse(QLineEdit *field, bool programs);

    std::unique_ptr<Ui::TestAccessDialog> ui;
    QPushButton *m_testButton;
};
