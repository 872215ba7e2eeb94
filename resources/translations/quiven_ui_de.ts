<?xml version='1.0' encoding='utf-8'?>
<TS version="2.1" language="de_DE">
<context>
    <name>AppDelegate</name>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="116" />
        <source>%%QUIVEN_NAME%% Configuration</source>
        <translation>%%QUIVEN_NAME%% Konfiguration</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="119" />
        <source>About %%QUIVEN_CONFIGURATION%%</source>
        <translation>Über %%QUIVEN_CONFIGURATION%%</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="122" />
        <source>Hide %%QUIVEN_CONFIGURATION%%</source>
        <translation>%%QUIVEN_CONFIGURATION%% ausblenden</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="130" />
        <source>%%QUIVEN_NAME%% Configuration %1</source>
        <translation>%%QUIVEN_NAME%% Konfiguration %1</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="136" />
        <source>Please wait while %%QUIVEN_NAME%% rules are being loaded</source>
        <translation>Bitte warten Sie, während die Regeln von %%QUIVEN_NAME%% geladen werden</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="137" />
        <source>Please wait while %%QUIVEN_NAME%% rules are being applied</source>
        <translation>Bitte warten Sie, während die Regeln von %%QUIVEN_NAME%% angewendet werden</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="149" />
        <source>The filter and settings daemons did not deliver the rules in time.</source>
        <translation>Der Filter- und der Einstellungsdienst haben die Regeln nicht rechtzeitig geliefert.</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="213" />
        <location filename="../../src/ui/AppDelegate.cpp" line="231" />
        <source>Rules were not reloaded</source>
        <translation>Die Regeln wurden nicht neu geladen</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="252" />
        <source>Rules reloaded</source>
        <translation>Regeln neu geladen</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="254" />
        <source>%%QUIVEN_NAME%% rules have been successfully reloaded and applied</source>
        <translation>Die Regeln von %%QUIVEN_NAME%% wurden erfolgreich neu geladen und angewendet</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="257" />
        <source>Failed to reload %%QUIVEN_NAME%% rules</source>
        <translation>Die Regeln von %%QUIVEN_NAME%% konnten nicht neu geladen werden</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegate.cpp" line="307" />
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
        <location filename="../../src/ui/AppDelegateSettings.cpp" line="115" />
        <source>Enable Learning Mode?</source>
        <translation>Lernmodus einschalten?</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegateSettings.cpp" line="117" />
        <source>%%QUIVEN_NAME%% can automatically learn about software you use to create a ruleset tailored for your specific computer. Do you want to enable Learning Mode now?</source>
        <translation>%%QUIVEN_NAME%% kann die von Ihnen verwendete Software automatisch kennenlernen und ein auf Ihren Computer zugeschnittenes Regelwerk erstellen. Möchten Sie den Lernmodus jetzt einschalten?</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegateSettings.cpp" line="121" />
        <source>Enable Learning Mode</source>
        <translation>Lernmodus einschalten</translation>
    </message>
    <message>
        <location filename="../../src/ui/AppDelegateSettings.cpp" line="122" />
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
        <translation>%%PROCESSNAME%% über beliebigen Elternprozess</translation>
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
        <translation>Beobachten</translation>
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
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="152" />
        <source>%%QUIVEN_NAME%% Configuration</source>
        <translation>%%QUIVEN_NAME%% Konfiguration</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="106" />
        <source>Edit</source>
        <translation>Bearbeiten</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="128" />
        <source>Toolbar</source>
        <translation>Werkzeugleiste</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="148" />
        <source>About %%QUIVEN_CONFIGURATION%%</source>
        <translation>Über %%QUIVEN_CONFIGURATION%%</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="153" />
        <source>Preferences…</source>
        <translation>Einstellungen…</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="158" />
        <source>Hide %%QUIVEN_CONFIGURATION%%</source>
        <translation>%%QUIVEN_CONFIGURATION%% ausblenden</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="161" />
        <source>Ctrl+H</source>
        <translation>Ctrl+H</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="166" />
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="169" />
        <source>Ctrl+Q</source>
        <translation>Ctrl+Q</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="174" />
        <location filename="../forms/RulesEditorTableController.ui" line="221" />
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="101" />
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="179" />
        <source>Find</source>
        <translation>Suchen</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="182" />
        <source>Ctrl+F</source>
        <translation>Ctrl+F</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="187" />
        <source>Export Rules…</source>
        <translation>Regeln exportieren…</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="192" />
        <source>Export Selected Rules…</source>
        <translation>Ausgewählte Regeln exportieren…</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="200" />
        <source>Learning Mode</source>
        <translation>Lernmodus</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="205" />
        <source>Reload Rules</source>
        <translation>Regeln neu laden</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="213" />
        <source>Export</source>
        <translation>Exportieren</translation>
    </message>
    <message>
        <location filename="../forms/RulesEditorTableController.ui" line="229" />
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="492" />
        <source>Hide System Rules</source>
        <translation>Systemregeln ausblenden</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="60" />
        <source>System Ruleset</source>
        <translation>Systemregelwerk</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="61" />
        <source>Standard Ruleset</source>
        <translation>Standard-Regelwerk</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="61" />
        <source>Classic Ruleset</source>
        <translation>Klassisches Regelwerk</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="61" />
        <source>Paranoid Ruleset</source>
        <translation>Paranoides Regelwerk</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="67" />
        <source>System ruleset</source>
        <translation>Systemregelwerk</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="76" />
        <source>Search rules</source>
        <translation>Regeln durchsuchen</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="77" />
        <source>Search</source>
        <translation>Suchen</translation>
    </message>
    <message>
        <location filename="../../src/ui/RulesEditorTableController.cpp" line="100" />
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
        <translation>Systemregeln können nicht gelöscht werden. Um eine Systemregel zu übersteuern, erstellen Sie eine gleiche Benutzerregel mit einer anderen Richtlinie.</translation>
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
        <translation>Bedingung</translation>
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