#pragma once

#include <QDialog>
#include <QVariantMap>
#include <functional>
#include <memory>

class QCheckBox;

namespace Ui {
class DGPreferencesWindow;
}

// The product's preferences: switches the filter reads from the shared
// preferences property list, and whether users may create rules (the shared
// folder's mode). Only an administrator who authenticates may change them;
// everyone else sees them read-only.
class DGPreferencesWindow : public QDialog
{
    Q_OBJECT
public:
    // Asks the user to prove being an administrator; the answer comes later.
    using Authenticator = std::function<void(QObject *context, std::function<void(bool authenticated)>)>;

    DGPreferencesWindow(bool isAdminUser, const Authenticator &performAuthentication,
                        QWidget *parent = nullptr);
    ~DGPreferencesWindow() override;

    Ui::DGPreferencesWindow *form() const { return ui.get(); }
    bool authenticated() const { return m_authenticated; }

    void clickedOK();
    // Escape closes the window like its close button.
    void reject() override;
    // Whether the shared rules folder is writable by others.
    static bool canCreateRules();

    // The preferences of the host product, without which `useTVAL` has no effect.
    static QString hostProductConfigurationPath();

Q_SIGNALS:
    // The user answered the authentication (or none was asked).
    void authenticationFinished(bool authenticated);
    // The folder mode change ran; `exitCode` 0 is success.
    void folderPermissionsChanged(int exitCode);
    void windowWillClose();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void windowDidLoad();
    void setEditable(bool editable);
    void clickedCreateRules();
    void setFolderPermissions();
    QList<QCheckBox *> twoStateBoxes() const;

    std::unique_ptr<Ui::DGPreferencesWindow> ui;
    QVariantMap m_settings;
    bool m_isAdminUser;
    bool m_initialPermissions = false;
    bool m_authenticated = false;
};
