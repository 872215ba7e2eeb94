<?xml version='1.0' encoding='utf-8'?>
<TS version="2.1" language="de_DE">
<context>
    <name>AppDelegate</name>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="118" />
        <source>%%QUIVEN_NAME%% Configuration</source>
        <translation>%%QUIVEN_NAME%% Konfiguration</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="121" />
        <source>About %%QUIVEN_CONFIGURATION%%</source>
        <translation>Über %%QUIVEN_CONFIGURATION%%</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="124" />
        <source>Hide %%QUIVEN_CONFIGURATION%%</source>
        <translation>%%QUIVEN_CONFIGURATION%% ausblenden</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="132" />
        <source>%%QUIVEN_NAME%% Configuration %1</source>
        <translation>%%QUIVEN_NAME%% Konfiguration %1</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="138" />
        <source>Please wait while %%QUIVEN_NAME%% rules are being loaded</source>
        <translation>Bitte warten, die Regeln von %%QUIVEN_NAME%% werden geladen</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="139" />
        <source>Please wait while %%QUIVEN_NAME%% rules are being applied</source>
        <translation>Bitte warten, die Regeln von %%QUIVEN_NAME%% werden angewendet</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="151" />
        <source>The filter and settings daemons did not deliver the rules in time.</source>
        <translation>Der Filter- und der Einstellungsdienst haben die Regeln nicht rechtzeitig geliefert.</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="215" />
        <location filename="../../src/ui/AppDelegate.cpp" line="233" />
        <source>Rules were not reloaded</source>
        <translation>Die Regeln wurden nicht neu geladen</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="254" />
        <source>Rules reloaded</source>
        <translation>Regeln neu geladen</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="256" />
        <source>%%QUIVEN_NAME%% rules have been successfully reloaded and applied</source>
        <translation>Die Regeln von %%QUIVEN_NAME%% wurden erfolgreich neu geladen und angewendet</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="259" />
        <source>Failed to reload %%QUIVEN_NAME%% rules</source>
        <translation>Die Regeln von %%QUIVEN_NAME%% konnten nicht neu geladen werden</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="309" />
        <source>Team ID</source>
        <translation>Team-ID</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegateAuthorization.cpp" line="40" />
        <source>Rule changes are allowed on the %%QUIVENNAME%% preference pane</source>
        <translation>Regeländerungen sind in den Einstellungen von %%QUIVENNAME%% erlaubt</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegateAuthorization.cpp" line="46" />
        <source>Click the lock again to apply changes.</source>
        <translation>Klicken Sie erneut auf das Schloss, um die Änderungen anzuwenden.</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegateAuthorization.cpp" line="46" />
        <source>Click the lock to make changes.</source>
        <translation>Klicken Sie auf das Schloss, um Änderungen vorzunehmen.</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegateSettings.cpp" line="119" />
        <source>Enable Learning Mode?</source>
        <translation>Lernmodus einschalten?</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegateSettings.cpp" line="121" />
        <source>%%QUIVEN_NAME%% can automatically learn about software you use to create a ruleset tailored for your specific computer. Do you want to enable Learning Mode now?</source>
        <translation>%%QUIVEN_NAME%% kann die von Ihnen verwendete Software automatisch kennenlernen und so ein Regelwerk erstellen, das genau auf Ihren Computer zugeschnitten ist. Möchten Sie den Lernmodus jetzt einschalten?</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegateSettings.cpp" line="125" />
        <source>Enable Learning Mode</source>
        <translation>Lernmodus einschalten</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegateSettings.cpp" line="126" />
        <source>Don't enable Learning Mode</source>
        <translation>Lernmodus nicht einschalten</translation>
    </message>
</context>
<context>
    <name>BusyIndicator</name>
    <message>
        <location filename="../../src/ui/BusyIndicator.cpp" line="16" />
        <source>Busy</source>
        <translation>Beschäftigt</translation>
    </message>
</context>
<context>
    <name>DGPreferencesWindow</name>
    <message>
        <location filename="../forms/DGPreferencesWindow.ui" line="14" />
        <source>Preferences</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <location filename="../forms/DGPreferencesWindow.ui" line="20" />
        <source>Allow users to create rules</source>
        <translation>Benutzer dürfen Regeln erstellen</translation>
    </message>
    <message>
        <location filename="../forms/DGPreferencesWindow.ui" line="27" />
        <source>Limit user rules to the user's own files</source>
        <translation>Benutzerregeln auf die eigenen Dateien beschränken</translation>
    </message>
    <message>
        <location filename="../forms/DGPreferencesWindow.ui" line="34" />
        <source>Allow signed programs to run</source>
        <translation>Signierte Programme ausführen lassen</translation>
    </message>
    <message>
        <location filename="../forms/DGPreferencesWindow.ui" line="41" />
        <source>Use the preloaded user rules</source>
        <translation>Mitgelieferte Benutzerregeln verwenden</translation>
    </message>
    <message>
        <location filename="../forms/DGPreferencesWindow.ui" line="48" />
        <source>Monitor the webcam and microphone</source>
        <translation>Kamera und Mikrofon überwachen</translation>
    </message>
    <message>
        <location filename="../forms/DGPreferencesWindow.ui" line="55" />
        <source>Monitor startup items</source>
        <translation>Autostart-Einträge überwachen</translation>
    </message>
    <message>
        <location filename="../forms/DGPreferencesWindow.ui" line="62" />
        <source>Monitor program launches</source>
        <translation>Programmstarts überwachen</translation>
    </message>
    <message>
        <location filename="../forms/DGPreferencesWindow.ui" line="69" />
        <source>Monitor processes attaching to others</source>
        <translation>Prozesse überwachen, die sich an andere anhängen</translation>
    </message>
    <message>
        <location filename="../forms/DGPreferencesWindow.ui" line="76" />
        <source>Show prompts while the screen is locked</source>
        <translation>Rückfragen auch bei gesperrtem Bildschirm zeigen</translation>
    </message>
    <message>
        <location filename="../forms/DGPreferencesWindow.ui" line="83" />
        <source>Confirm prompts on a second device</source>
        <translation>Rückfragen auf einem zweiten Gerät bestätigen</translation>
    </message>
    <message>
        <location filename="../forms/DGPreferencesWindow.ui" line="90" />
        <source>Use strict system rules</source>
        <translation>Strenge Systemregeln verwenden</translation>
    </message>
    <message>
        <location filename="../forms/DGPreferencesWindow.ui" line="97" />
        <source>Allow remote administration</source>
        <translation>Fernverwaltung erlauben</translation>
    </message>
    <message>
        <location filename="../forms/DGPreferencesWindow.ui" line="104" />
        <source>Require authentication to answer prompts</source>
        <translation>Zum Beantworten von Rückfragen Anmeldung verlangen</translation>
    </message>
    <message>
        <location filename="../forms/DGPreferencesWindow.ui" line="111" />
        <source>Use the reputation service</source>
        <translation>Reputationsdienst verwenden</translation>
    </message>
    <message>
        <location filename="../forms/DGPreferencesWindow.ui" line="123" />
        <source>Level of detail:</source>
        <translation>Detailgrad:</translation>
    </message>
    <message>
        <location filename="../forms/DGPreferencesWindow.ui" line="133" />
        <source>Level of detail</source>
        <translation>Detailgrad</translation>
    </message>
    <message>
        <location filename="../forms/DGPreferencesWindow.ui" line="158" />
        <location filename="../../src/ui/DGPreferencesWindow.cpp" line="127" />
        <source>Save</source>
        <translation>Sichern</translation>
    </message>
    <message>
        <location filename="../../src/ui/DGPreferencesWindow.cpp" line="52" />
        <source>Basic</source>
        <translation>Einfach</translation>
    </message>
    <message>
        <location filename="../../src/ui/DGPreferencesWindow.cpp" line="52" />
        <source>Standard</source>
        <translation>Standard</translation>
    </message>
    <message>
        <location filename="../../src/ui/DGPreferencesWindow.cpp" line="52" />
        <source>Detailed</source>
        <translation>Ausführlich</translation>
    </message>
    <message>
        <location filename="../../src/ui/DGPreferencesWindow.cpp" line="127" />
        <source>OK</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>EditPolicyWindowController</name>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="14" />
        <source>Edit policy</source>
        <translation>Regel bearbeiten</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="22" />
        <source>Application icon</source>
        <translation>Programmsymbol</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="40" />
        <source>Action:</source>
        <translation>Aktion:</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="50" />
        <source>Action</source>
        <translation>Aktion</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="54" />
        <source>Allow</source>
        <translation>Erlauben</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="59" />
        <source>Deny</source>
        <translation>Verweigern</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="67" />
        <source>Type:</source>
        <translation>Typ:</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="77" />
        <source>Type</source>
        <translation>Typ</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="81" />
        <source>Prefix</source>
        <translation>Präfix</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="86" />
        <location filename="../forms/EditPolicyWindowController.ui" line="109" />
        <source>Path</source>
        <translation>Pfad</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="91" />
        <source>Suffix</source>
        <translation>Suffix</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="99" />
        <source>Path:</source>
        <translation>Pfad:</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="116" />
        <location filename="../forms/EditPolicyWindowController.ui" line="153" />
        <location filename="../forms/EditPolicyWindowController.ui" line="190" />
        <source>Any</source>
        <translation>Beliebig</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="119" />
        <location filename="../../src/ui/EditPolicyWindowController.cpp" line="85" />
        <location filename="../../src/ui/EditPolicyWindowController.cpp" line="116" />
        <source>Any path</source>
        <translation>Beliebiger Pfad</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="126" />
        <location filename="../forms/EditPolicyWindowController.ui" line="163" />
        <location filename="../forms/EditPolicyWindowController.ui" line="200" />
        <source>Browse…</source>
        <translation>Auswählen …</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="129" />
        <source>Browse for a path</source>
        <translation>Pfad auswählen</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="136" />
        <source>Application:</source>
        <translation>Programm:</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="146" />
        <source>Application</source>
        <translation>Programm</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="156" />
        <location filename="../../src/ui/EditPolicyWindowController.cpp" line="73" />
        <location filename="../../src/ui/EditPolicyWindowController.cpp" line="114" />
        <source>Any application</source>
        <translation>Beliebiges Programm</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="166" />
        <source>Browse for an application</source>
        <translation>Programm auswählen</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="173" />
        <source>Parent process:</source>
        <translation>Elternprozess:</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="183" />
        <source>Parent process</source>
        <translation>Elternprozess</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="193" />
        <location filename="../../src/ui/EditPolicyWindowController.cpp" line="80" />
        <location filename="../../src/ui/EditPolicyWindowController.cpp" line="115" />
        <source>Any parent process</source>
        <translation>Beliebiger Elternprozess</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="203" />
        <source>Browse for a parent process</source>
        <translation>Elternprozess auswählen</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="210" />
        <location filename="../forms/EditPolicyWindowController.ui" line="220" />
        <location filename="../../src/ui/EditPolicyWindowController.cpp" line="180" />
        <source>Constraint</source>
        <translation>Einschränkung</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="227" />
        <source>Operations:</source>
        <translation>Operationen:</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="236" />
        <source>Read</source>
        <translation>Lesen</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="243" />
        <source>Write</source>
        <translation>Schreiben</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="250" />
        <source>Create</source>
        <translation>Erstellen</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="257" />
        <source>Mount</source>
        <translation>Einhängen</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="264" />
        <source>Execute</source>
        <translation>Ausführen</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="286" />
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <location filename="../forms/EditPolicyWindowController.ui" line="293" />
        <location filename="../../src/ui/EditPolicyWindowController.cpp" line="132" />
        <source>Save</source>
        <translation>Sichern</translation>
    </message>
    <message>
        <location filename="../../src/ui/EditPolicyWindowController.cpp" line="57" />
        <source>Policies for mount operation are not supported on your system</source>
        <translation>Regeln für das Einhängen werden auf Ihrem System nicht unterstützt</translation>
    </message>
</context>
<context>
    <name>EditWatchWindowController</name>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="14" />
        <source>Edit watch rule</source>
        <translation>Überwachungsregel bearbeiten</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="22" />
        <source>Application icon</source>
        <translation>Programmsymbol</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="40" />
        <source>Type:</source>
        <translation>Typ:</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="50" />
        <source>Type</source>
        <translation>Typ</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="54" />
        <source>Prefix</source>
        <translation>Präfix</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="59" />
        <location filename="../forms/EditWatchWindowController.ui" line="82" />
        <source>Path</source>
        <translation>Pfad</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="64" />
        <source>Suffix</source>
        <translation>Suffix</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="72" />
        <source>Path:</source>
        <translation>Pfad:</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="89" />
        <location filename="../forms/EditWatchWindowController.ui" line="126" />
        <source>Any</source>
        <translation>Beliebig</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="92" />
        <location filename="../../src/ui/EditWatchWindowController.cpp" line="68" />
        <location filename="../../src/ui/EditWatchWindowController.cpp" line="92" />
        <source>Any path</source>
        <translation>Beliebiger Pfad</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="99" />
        <location filename="../forms/EditWatchWindowController.ui" line="136" />
        <source>Browse…</source>
        <translation>Auswählen …</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="102" />
        <source>Browse for a path</source>
        <translation>Pfad auswählen</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="109" />
        <source>Application:</source>
        <translation>Programm:</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="119" />
        <source>Application</source>
        <translation>Programm</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="129" />
        <location filename="../../src/ui/EditWatchWindowController.cpp" line="61" />
        <location filename="../../src/ui/EditWatchWindowController.cpp" line="91" />
        <source>Any application</source>
        <translation>Beliebiges Programm</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="139" />
        <source>Browse for an application</source>
        <translation>Programm auswählen</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="146" />
        <source>Operations:</source>
        <translation>Operationen:</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="155" />
        <source>Read</source>
        <translation>Lesen</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="162" />
        <source>Write</source>
        <translation>Schreiben</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="169" />
        <source>Create</source>
        <translation>Erstellen</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="176" />
        <source>Mount</source>
        <translation>Einhängen</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="183" />
        <source>Execute</source>
        <translation>Ausführen</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="205" />
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <location filename="../forms/EditWatchWindowController.ui" line="212" />
        <location filename="../../src/ui/EditWatchWindowController.cpp" line="103" />
        <source>Save</source>
        <translation>Sichern</translation>
    </message>
    <message>
        <location filename="../../src/ui/EditWatchWindowController.cpp" line="50" />
        <source>Policies for mount operation are not supported on your system</source>
        <translation>Regeln für das Einhängen werden auf Ihrem System nicht unterstützt</translation>
    </message>
</context>
<context>
    <name>ImportRulesModel</name>
    <message>
        <location filename="../../src/ui/ImportRulesModel.cpp" line="28" />
        <source>Import</source>
        <translation>Importieren</translation>
    </message>
    <message>
        <location filename="../../src/ui/ImportRulesModel.cpp" line="28" />
        <source>Do not import</source>
        <translation>Nicht importieren</translation>
    </message>
</context>
<context>
    <name>ImportWindowController</name>
    <message>
        <location filename="../forms/ImportWindowController.ui" line="14" />
        <source>Import Rules</source>
        <translation>Regeln importieren</translation>
    </message>
    <message>
        <location filename="../forms/ImportWindowController.ui" line="20" />
        <source>Suggested rules</source>
        <translation>Vorgeschlagene Regeln</translation>
    </message>
    <message>
        <location filename="../forms/ImportWindowController.ui" line="54" />
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <location filename="../forms/ImportWindowController.ui" line="61" />
        <source>Import</source>
        <translation>Importieren</translation>
    </message>
</context>
<context>
    <name>NVCEditPolicyUI</name>
    <message>
        <location filename="../../src/ui/NVCEditPolicyUI.cpp" line="92" />
        <source>Prefix</source>
        <translation>Präfix</translation>
    </message>
    <message>
        <location filename="../../src/ui/NVCEditPolicyUI.cpp" line="94" />
        <source>Path</source>
        <translation>Pfad</translation>
    </message>
    <message>
        <location filename="../../src/ui/NVCEditPolicyUI.cpp" line="96" />
        <source>Suffix</source>
        <translation>Suffix</translation>
    </message>
    <message>
        <location filename="../../src/ui/NVCEditPolicyUI.cpp" line="98" />
        <location filename="../../src/ui/NVCEditPolicyUI.cpp" line="174" />
        <source>Err</source>
        <translation>Fehler</translation>
    </message>
    <message>
        <location filename="../../src/ui/NVCEditPolicyUI.cpp" line="120" />
        <source>System rule</source>
        <translation>Systemregel</translation>
    </message>
    <message>
        <location filename="../../src/ui/NVCEditPolicyUI.cpp" line="123" />
        <source>New rule</source>
        <translation>Neue Regel</translation>
    </message>
    <message>
        <location filename="../../src/ui/NVCEditPolicyUI.cpp" line="134" />
        <source>%%PROCESSNAME%% via any parent process</source>
        <translation>%%PROCESSNAME%% über einen beliebigen Elternprozess</translation>
    </message>
    <message>
        <location filename="../../src/ui/NVCEditPolicyUI.cpp" line="135" />
        <source>%%PROCESSNAME%% via %%PARENTPROCESSNAME%%</source>
        <translation>%%PROCESSNAME%% über %%PARENTPROCESSNAME%%</translation>
    </message>
    <message>
        <location filename="../../src/ui/NVCEditPolicyUI.cpp" line="174" />
        <source>Allow</source>
        <translation>Erlauben</translation>
    </message>
    <message>
        <location filename="../../src/ui/NVCEditPolicyUI.cpp" line="174" />
        <source>Deny</source>
        <translation>Verweigern</translation>
    </message>
    <message>
        <location filename="../../src/ui/NVCEditPolicyUI.cpp" line="212" />
        <source>Watch</source>
        <translation>Überwachen</translation>
    </message>
    <message>
        <location filename="../../src/ui/NVCEditPolicyUIEditing.cpp" line="106" />
        <source>New watch rule</source>
        <translation>Neue Überwachungsregel</translation>
    </message>
    <message>
        <location filename="../../src/ui/NVCEditPolicyUIEditing.cpp" line="106" />
        <source>Edit watch rule</source>
        <translation>Überwachungsregel bearbeiten</translation>
    </message>
    <message>
        <location filename="../../src/ui/NVCEditPolicyUIEditing.cpp" line="107" />
        <source>New policy</source>
        <translation>Neue Regel</translation>
    </message>
    <message>
        <location filename="../../src/ui/NVCEditPolicyUIEditing.cpp" line="107" />
        <source>Edit policy</source>
        <translation>Regel bearbeiten</translation>
    </message>
    <message>
        <location filename="../../src/ui/NVCEditPolicyUIEditing.cpp" line="116" />
        <source>Invalid input</source>
        <translation>Ungültige Eingabe</translation>
    </message>
    <message>
        <location filename="../../src/ui/NVCEditPolicyUIEditing.cpp" line="118" />
        <source>One or more fields contain invalid input. The specified paths either do not exist or are inaccessible.</source>
        <translation>Ein oder mehrere Felder enthalten ungültige Eingaben. Die angegebenen Pfade existieren nicht oder sind nicht zugänglich.</translation>
    </message>
    <message>
        <location filename="../../src/ui/NVCEditPolicyUIEditing.cpp" line="120" />
        <source>Proceed anyway</source>
        <translation>Trotzdem fortfahren</translation>
    </message>
    <message>
        <location filename="../../src/ui/NVCEditPolicyUIEditing.cpp" line="121" />
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>RuleEditorWindow</name>
    <message>
        <location filename="../../src/ui/RuleEditorWindow.cpp" line="42" />
        <location filename="../../src/ui/RuleEditorWindow.cpp" line="48" />
        <source>Use Path</source>
        <translation>Pfad verwenden</translation>
    </message>
    <message>
        <location filename="../../src/ui/RuleEditorWindow.cpp" line="72" />
        <source>path</source>
        <translation>Pfad</translation>
    </message>
    <message>
        <location filename="../../src/ui/RuleEditorWindow.cpp" line="72" />
        <source>process</source>
        <translation>Prozess</translation>
    </message>
    <message>
        <location filename="../../src/ui/RuleEditorWindow.cpp" line="72" />
        <source>tag</source>
        <translation>Markierung</translation>
    </message>
    <message>
        <location filename="../../src/ui/RuleEditorWindow.cpp" line="72" />
        <source>constraint</source>
        <translation>Bedingung</translation>
    </message>
    <message>
        <location filename="../../src/ui/RuleEditorWindow.cpp" line="74" />
        <source>Invalid input</source>
        <translation>Ungültige Eingabe</translation>
    </message>
    <message>
        <location filename="../../src/ui/RuleEditorWindow.cpp" line="75" />
        <source>The %1 cannot be saved: it holds a line break or a double quote, which a rule file cannot keep.</source>
        <translation>Das Feld „%1“ kann nicht gespeichert werden: Es enthält einen Zeilenumbruch oder ein doppeltes Anführungszeichen, das eine Regeldatei nicht aufnehmen kann.</translation>
    </message>
</context>
<context>
    <name>RulesEditorTableController</name>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="33" />
        <location filename="../forms/RulesEditorTableController.ui" line="114" />
        <source>Rules</source>
        <translation>Regeln</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="75" />
        <source>Click the lock to make changes.</source>
        <translation>Klicken Sie auf das Schloss, um Änderungen vorzunehmen.</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="96" />
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="154" />
        <source>%%QUIVEN_NAME%% Configuration</source>
        <translation>%%QUIVEN_NAME%% Konfiguration</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="106" />
        <location filename="../forms/RulesEditorTableController.ui" line="249" />
        <location filename="../../src/ui/RulesEditorTableControllerEditors.cpp" line="32" />
        <source>Edit</source>
        <translation>Bearbeiten</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="128" />
        <source>Toolbar</source>
        <translation>Werkzeugleiste</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="152" />
        <source>About %%QUIVEN_CONFIGURATION%%</source>
        <translation>Über %%QUIVEN_CONFIGURATION%%</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="157" />
        <source>Preferences…</source>
        <translation>Einstellungen …</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="162" />
        <source>Hide %%QUIVEN_CONFIGURATION%%</source>
        <translation>%%QUIVEN_CONFIGURATION%% ausblenden</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="165" />
        <source>Ctrl+H</source>
        <translation>Ctrl+H</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="170" />
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="173" />
        <source>Ctrl+Q</source>
        <translation>Ctrl+Q</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="178" />
        <location filename="../forms/RulesEditorTableController.ui" line="257" />
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="103" />
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="183" />
        <source>Find</source>
        <translation>Suchen</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="186" />
        <source>Ctrl+F</source>
        <translation>Ctrl+F</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="191" />
        <source>Export Rules…</source>
        <translation>Regeln exportieren …</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="196" />
        <source>Export Selected Rules…</source>
        <translation>Ausgewählte Regeln exportieren …</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="204" />
        <source>Learning Mode</source>
        <translation>Lernmodus</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="209" />
        <source>Reload Rules</source>
        <translation>Regeln neu laden</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="217" />
        <source>Import</source>
        <translation>Importieren</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="225" />
        <source>Export</source>
        <translation>Exportieren</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="233" />
        <source>New Rule</source>
        <translation>Neue Regel</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="241" />
        <source>New Watch Rule</source>
        <translation>Neue Überwachungsregel</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="265" />
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="492" />
        <source>Hide System Rules</source>
        <translation>Systemregeln ausblenden</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="62" />
        <source>System Ruleset</source>
        <translation>Systemregelwerk</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="63" />
        <source>Standard Ruleset</source>
        <translation>Standardregelwerk</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="63" />
        <source>Classic Ruleset</source>
        <translation>Klassisches Regelwerk</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="63" />
        <source>Paranoid Ruleset</source>
        <translation>Paranoides Regelwerk</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="69" />
        <source>System ruleset</source>
        <translation>Systemregelwerk</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="78" />
        <source>Search rules</source>
        <translation>Regeln durchsuchen</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="79" />
        <source>Search</source>
        <translation>Suchen</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="102" />
        <source>Rule</source>
        <translation>Regel</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="365" />
        <source>Cannot Delete System Rule</source>
        <translation>Systemregel kann nicht gelöscht werden</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="366" />
        <source>System rules cannot be deleted. To override a system rule, create an identical user rule with a different policy.</source>
        <translation>Systemregeln können nicht gelöscht werden. Um eine Systemregel zu übersteuern, erstellen Sie eine gleiche Benutzerregel mit anderer Aktion.</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="444" />
        <source>Cannot Delete System Rules</source>
        <translation>Systemregeln können nicht gelöscht werden</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="445" />
        <source>System rules cannot be deleted using this tool. Please disable %%QUIVEN_NAME%% and edit the system rules directly to make changes.</source>
        <translation>Systemregeln können mit diesem Programm nicht gelöscht werden. Bitte schalten Sie %%QUIVEN_NAME%% aus und bearbeiten Sie die Systemregeln direkt.</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="478" />
        <source>Cannot Edit System Rules</source>
        <translation>Systemregeln können nicht bearbeitet werden</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="479" />
        <source>System rules cannot be edited using this tool. Please disable %%QUIVEN_NAME%% and edit the system rules directly to make changes.</source>
        <translation>Systemregeln können mit diesem Programm nicht bearbeitet werden. Bitte schalten Sie %%QUIVEN_NAME%% aus und bearbeiten Sie die Systemregeln direkt.</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="492" />
        <source>Show System Rules</source>
        <translation>Systemregeln einblenden</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="513" />
        <source>Export Rules</source>
        <translation>Regeln exportieren</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableControllerEditors.cpp" line="31" />
        <source>New Rule…</source>
        <translation>Neue Regel …</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableControllerImport.cpp" line="50" />
        <source>Import Files</source>
        <translation>Dateien importieren</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableControllerImport.cpp" line="53" />
        <source>Rule files (*.quiven *.QUIVEN)</source>
        <translation>Regeldateien (*.quiven *.QUIVEN)</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableControllerImport.cpp" line="91" />
        <source>Unauthorized Access Attempts</source>
        <translation>Unberechtigte Zugriffsversuche</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableControllerImport.cpp" line="92" />
        <source>%%QUIVEN_NAME%% denied the following file access attempts, and has created the following rule suggestions. If you have recently added new software, you may need to import these rules to allow it to operate correctly. Please review these rules, then click Import if you wish to add them.</source>
        <translation>%%QUIVEN_NAME%% hat die folgenden Dateizugriffe verweigert und daraus die folgenden Regelvorschläge erstellt. Wenn Sie kürzlich neue Software installiert haben, müssen Sie diese Regeln eventuell importieren, damit sie richtig funktioniert. Bitte prüfen Sie die Regeln und klicken Sie auf „Importieren“, wenn Sie sie hinzufügen möchten.</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableControllerImport.cpp" line="101" />
        <source>New Rule Suggestions</source>
        <translation>Neue Regelvorschläge</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableControllerImport.cpp" line="102" />
        <source>%%QUIVEN_NAME%% detected new software attempting to run, and has created the following rule suggestions. Please review these rules, then click Import if you wish to add them.</source>
        <translation>%%QUIVEN_NAME%% hat neue Software bemerkt, die gestartet werden wollte, und die folgenden Regelvorschläge erstellt. Bitte prüfen Sie die Regeln und klicken Sie auf „Importieren“, wenn Sie sie hinzufügen möchten.</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableControllerImport.cpp" line="213" />
        <source>No rules have been imported. The selected rules are either already present in the ruleset or are invalid.</source>
        <translation>Es wurden keine Regeln importiert. Die ausgewählten Regeln sind entweder bereits im Regelwerk vorhanden oder ungültig.</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableControllerImport.cpp" line="217" />
        <source>Successfully imported %%IMPORTED_NUMBER%% out of %%TOTAL_NUMBER%% rule(s). Some rules are already present in the ruleset or are invalid.</source>
        <translation>%%IMPORTED_NUMBER%% von %%TOTAL_NUMBER%% Regel(n) erfolgreich importiert. Einige Regeln sind bereits im Regelwerk vorhanden oder ungültig.</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableControllerImport.cpp" line="222" />
        <source>All rules have been successfully imported.</source>
        <translation>Alle Regeln wurden erfolgreich importiert.</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableControllerImport.cpp" line="223" />
        <source>Import complete</source>
        <translation>Import abgeschlossen</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorAccessTest.cpp" line="19" />
        <source>reads</source>
        <translation>liest</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorAccessTest.cpp" line="21" />
        <source>writes</source>
        <translation>schreibt</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorAccessTest.cpp" line="23" />
        <source>creates</source>
        <translation>erstellt</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorAccessTest.cpp" line="25" />
        <source>modifies</source>
        <translation>ändert</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorAccessTest.cpp" line="27" />
        <source>executes</source>
        <translation>führt aus</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorAccessTest.cpp" line="35" />
        <source>Test Access…</source>
        <translation>Zugriff prüfen…</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorAccessTest.cpp" line="44" />
        <source>Show All Rules</source>
        <translation>Alle Regeln zeigen</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorAccessTest.cpp" line="68" />
        <source> started by %1</source>
        <translation> gestartet von %1</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorAccessTest.cpp" line="70" />
        <source>%1%2 %3 %4</source>
        <translation>%1%2 %3 %4</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorAccessTest.cpp" line="78" />
        <source>Rules matching %1: %2</source>
        <translation>Passende Regeln für %1: %2</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorAccessTest.cpp" line="80" />
        <source>(%1 more would match if they were valid)</source>
        <translation>(%1 weitere würden passen, wenn sie gültig wären)</translation>
    </message>
</context>
<context>
    <name>RulesTableModel</name>
    <message>
        <location filename="../../src/ui/RulesTableModel.cpp" line="148" />
        <source>State</source>
        <translation>Status</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesTableModel.cpp" line="150" />
        <source>Application</source>
        <translation>Programm</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesTableModel.cpp" line="152" />
        <source>Action</source>
        <translation>Aktion</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesTableModel.cpp" line="154" />
        <source>Type</source>
        <translation>Typ</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesTableModel.cpp" line="156" />
        <source>Operations</source>
        <translation>Operationen</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesTableModel.cpp" line="158" />
        <source>Tag</source>
        <translation>Markierung</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesTableModel.cpp" line="160" />
        <source>Path</source>
        <translation>Pfad</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesTableModel.cpp" line="162" />
        <source>Constraint</source>
        <translation>Einschränkung</translation>
    </message>
</context>
<context>
    <name>TestAccessDialog</name>
    <message>
        <location filename="../forms/TestAccessDialog.ui" line="6" />
        <source>Test Access</source>
        <translation>Zugriff prüfen</translation>
    </message>
    <message>
        <location filename="../forms/TestAccessDialog.ui" line="12" />
        <source>Which rules are about a program using a file? Every matching rule is listed, allow and deny alike; which one the filter obeys is its own decision.</source>
        <translation>Welche Regeln betreffen den Zugriff eines Programms auf eine Datei? Jede passende Regel wird gezeigt, erlaubende wie verweigernde; welcher der Filter folgt, entscheidet er selbst.</translation>
    </message>
    <message>
        <location filename="../forms/TestAccessDialog.ui" line="24" />
        <source>Program:</source>
        <translation>Programm:</translation>
    </message>
    <message>
        <location filename="../forms/TestAccessDialog.ui" line="34" />
        <source>Program</source>
        <translation>Programm</translation>
    </message>
    <message>
        <location filename="../forms/TestAccessDialog.ui" line="47" />
        <location filename="../forms/TestAccessDialog.ui" line="77" />
        <location filename="../forms/TestAccessDialog.ui" line="104" />
        <source>Browse…</source>
        <translation>Durchsuchen…</translation>
    </message>
    <message>
        <location filename="../forms/TestAccessDialog.ui" line="50" />
        <source>Choose the program</source>
        <translation>Programm wählen</translation>
    </message>
    <message>
        <location filename="../forms/TestAccessDialog.ui" line="57" />
        <source>Started by:</source>
        <translation>Gestartet von:</translation>
    </message>
    <message>
        <location filename="../forms/TestAccessDialog.ui" line="67" />
        <source>Parent program</source>
        <translation>Elternprogramm</translation>
    </message>
    <message>
        <location filename="../forms/TestAccessDialog.ui" line="70" />
        <source>optional</source>
        <translation>optional</translation>
    </message>
    <message>
        <location filename="../forms/TestAccessDialog.ui" line="80" />
        <source>Choose the parent program</source>
        <translation>Elternprogramm wählen</translation>
    </message>
    <message>
        <location filename="../forms/TestAccessDialog.ui" line="87" />
        <source>File or folder:</source>
        <translation>Datei oder Ordner:</translation>
    </message>
    <message>
        <location filename="../forms/TestAccessDialog.ui" line="97" />
        <source>File or folder</source>
        <translation>Datei oder Ordner</translation>
    </message>
    <message>
        <location filename="../forms/TestAccessDialog.ui" line="107" />
        <source>Choose the file or folder</source>
        <translation>Datei oder Ordner wählen</translation>
    </message>
    <message>
        <location filename="../forms/TestAccessDialog.ui" line="114" />
        <source>Operation:</source>
        <translation>Operation:</translation>
    </message>
    <message>
        <location filename="../forms/TestAccessDialog.ui" line="124" />
        <source>Operation</source>
        <translation>Operation</translation>
    </message>
    <message>
        <location filename="../forms/TestAccessDialog.ui" line="128" />
        <source>Read</source>
        <translation>Lesen</translation>
    </message>
    <message>
        <location filename="../forms/TestAccessDialog.ui" line="133" />
        <source>Write</source>
        <translation>Schreiben</translation>
    </message>
    <message>
        <location filename="../forms/TestAccessDialog.ui" line="138" />
        <source>Create</source>
        <translation>Erstellen</translation>
    </message>
    <message>
        <location filename="../forms/TestAccessDialog.ui" line="143" />
        <source>Modify</source>
        <translation>Ändern</translation>
    </message>
    <message>
        <location filename="../forms/TestAccessDialog.ui" line="148" />
        <source>Execute</source>
        <translation>Ausführen</translation>
    </message>
    <message>
        <location filename="../../src/ui/TestAccessDialog.cpp" line="40" />
        <source>Test</source>
        <translation>Prüfen</translation>
    </message>
    <message>
        <location filename="../../src/ui/TestAccessDialog.cpp" line="86" />
        <source>Use Path</source>
        <translation>Pfad verwenden</translation>
    </message>
</context>
</TS>