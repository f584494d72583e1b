<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>Colors</name>
    <message>
        <location filename="../app/Colors.cpp" line="+24"/>
        <source></source>
        <comment>Colour names (SVG keywords such as &quot;blue&quot;) and #rrggbb values, as the toolkit reads them: keep them as they are, unless your language wants another colour here.</comment>
        <translation></translation>
    </message>
    <message>
        <location line="+10"/>
        <source>blue</source>
        <translation>blue</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>red</source>
        <translation>red</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>#ffa9b8</source>
        <translation>#ffa9b8</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>darkorange</source>
        <translation>darkorange</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>#8b5a2b</source>
        <translation>#8b5a2b</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>#ffbd94</source>
        <translation>#ffbd94</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>green</source>
        <translation>green</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>#fffacd</source>
        <translation>#fffacd</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>#ff6060</source>
        <translation>#ff6060</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>yellow</source>
        <translation>yellow</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>lightgreen</source>
        <translation>lightgreen</translation>
    </message>
</context>
<context>
    <name>Execute</name>
    <message>
        <location filename="../app/Execute.cpp" line="+59"/>
        <source>%1 could not be started.</source>
        <translation>%1 konnte nicht gestartet werden.</translation>
    </message>
    <message>
        <location line="+14"/>
        <source>%1 was started, but how it ended is unknown.</source>
        <translation>%1 wurde gestartet, aber wie es endete, ist unbekannt.</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>%1 failed with exit status %2.</source>
        <translation>%1 ist mit dem Exit-Status %2 fehlgeschlagen.</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>%1 was ended by signal %2 (%3).</source>
        <translation>%1 wurde durch das Signal %2 (%3) beendet.</translation>
    </message>
    <message>
        <location line="+17"/>
        <source>SORVAN External Program Error</source>
        <translation>SORVAN – Fehler eines externen Programms</translation>
    </message>
    <message>
        <location line="+38"/>
        <location line="+14"/>
        <source>Help</source>
        <translation>Hilfe</translation>
    </message>
    <message>
        <location line="-13"/>
        <source>pipe() failed; errno = %1 (%2)</source>
        <translation>pipe() ist fehlgeschlagen; errno = %1 (%2)</translation>
    </message>
    <message>
        <location line="+14"/>
        <source>fork() failed; errno = %1 (%2)</source>
        <translation>fork() ist fehlgeschlagen; errno = %1 (%2)</translation>
    </message>
</context>
<context>
    <name>Fonts</name>
    <message>
        <location filename="../app/Fonts.cpp" line="+19"/>
        <source></source>
        <comment>Font families tried in turn for fixed-width text: keep the names, or name a family that suits your script better.</comment>
        <translation></translation>
    </message>
    <message>
        <location line="+8"/>
        <source>Bitstream Vera Sans Mono</source>
        <translation>Bitstream Vera Sans Mono</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>DejaVu Sans Mono</source>
        <translation>DejaVu Sans Mono</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Monospace</source>
        <translation>Monospace</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Courier</source>
        <translation>Courier</translation>
    </message>
</context>
<context>
    <name>Log::Window</name>
    <message>
        <location filename="../log/LogWindow.cpp" line="+46"/>
        <source>SORVAN Log</source>
        <translation>SORVAN – Protokoll</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Detail level</source>
        <translation>Detailstufe</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>Threshold beyond which more detailed log messages are omitted.
Higher levels show more detail.
The valid range is 0 .. %1.
The default is %2.
Higher levels contain debug information.
This corresponds to yum&apos;s debuglevel (-d) option.</source>
        <translation>Schwelle, oberhalb der detailliertere Protokollmeldungen ausgelassen werden.
Höhere Stufen zeigen mehr Details.
Der gültige Bereich ist 0 .. %1.
Die Voreinstellung ist %2.
Höhere Stufen enthalten Debug-Informationen.
Dies entspricht der Option debuglevel (-d) von yum.</translation>
    </message>
    <message>
        <location line="+20"/>
        <source>&amp;Close</source>
        <translation>&amp;Schließen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Close the Log Window</source>
        <translation>Das Protokollfenster schließen</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <location filename="../app/MainWindow.cpp" line="+64"/>
        <source>SORVAN - %1</source>
        <translation>SORVAN - %1</translation>
    </message>
    <message>
        <location line="+12"/>
        <source>&amp;Program</source>
        <translation>&amp;Programm</translation>
    </message>
    <message>
        <location line="+2"/>
        <location line="+496"/>
        <source>&amp;Quit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <location line="-495"/>
        <source>Ctrl+Q</source>
        <translation>Ctrl+Q</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>&amp;Windows</source>
        <translation>&amp;Fenster</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>&amp;Log</source>
        <translation>&amp;Protokoll</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Ctrl+L</source>
        <translation>Ctrl+L</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>&amp;Repositories</source>
        <translation>Paket&amp;quellen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>&amp;Edit Configuration</source>
        <translation>Konfiguration &amp;bearbeiten</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Ctrl+E</source>
        <translation>Ctrl+E</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>&amp;Cache</source>
        <translation>&amp;Cache</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Clean Headers</source>
        <translation>Kopfdaten leeren</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Clean Packages</source>
        <translation>Pakete leeren</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Clean XML Metadata</source>
        <translation>XML-Metadaten leeren</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Clean Pickled Data</source>
        <translation>Pickle-Daten leeren</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Clean Sqlite Data</source>
        <translation>SQLite-Daten leeren</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Clean All</source>
        <translation>Alles leeren</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>&amp;Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Manual (html)</source>
        <translation>Handbuch (HTML)</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>F1</source>
        <translation>F1</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Manual (PDF)</source>
        <translation>Handbuch (PDF)</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>&amp;About</source>
        <translation>&amp;Über</translation>
    </message>
    <message>
        <location line="+18"/>
        <location line="+603"/>
        <source>Filter</source>
        <translation>Filtern</translation>
    </message>
    <message>
        <location line="-602"/>
        <location line="+599"/>
        <source>Search</source>
        <translation>Suchen</translation>
    </message>
    <message>
        <location line="-591"/>
        <source>Regular expression</source>
        <translation>Regulärer Ausdruck</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Clear</source>
        <translation>Leeren</translation>
    </message>
    <message>
        <location line="+10"/>
        <source>View Updatable</source>
        <translation>Aktualisierbare</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>View Installable</source>
        <translation>Installierbare</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>View Removable</source>
        <translation>Entfernbare</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>View All</source>
        <translation>Alle</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Include Duplicates</source>
        <translation>Mit Duplikaten</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Include Groups</source>
        <translation>Mit Gruppen</translation>
    </message>
    <message>
        <location line="+30"/>
        <source>Packages</source>
        <translation>Pakete</translation>
    </message>
    <message>
        <location line="+8"/>
        <source>&amp;Describe</source>
        <translation>&amp;Beschreiben</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>Pop up a window with a detailed description of the currently selected package</source>
        <translation>Ein Fenster mit einer ausführlichen Beschreibung des ausgewählten Pakets öffnen</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Re&amp;size</source>
        <translation>&amp;Einpassen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Resize the columns and window to optimal values</source>
        <translation>Spalten und Fenster auf die beste Größe bringen</translation>
    </message>
    <message>
        <location line="+4"/>
        <location line="+307"/>
        <source>Re&amp;fresh</source>
        <translation>&amp;Neu laden</translation>
    </message>
    <message>
        <location line="-305"/>
        <source>Refresh the list of installed packages and packages available for update.
Use this to check for new updates in repositories, or if any packages were installed manually.</source>
        <translation>Die Liste der installierten Pakete und der verfügbaren Aktualisierungen neu laden.
Damit lässt sich prüfen, ob die Paketquellen neue Aktualisierungen haben oder ob Pakete von Hand installiert wurden.</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>Set &amp;Install/Update of Selected</source>
        <translation>Auswahl &amp;vormerken</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Sets the Action for all selected packages which are Not Installed to Install, and
sets the Action for all selected packages which are Installed but Out-of-date to Update.
Does not Apply Actions automatically.</source>
        <translation>Setzt die Aktion aller ausgewählten Pakete, die nicht installiert sind, auf Installieren, und
die Aktion aller ausgewählten Pakete, die installiert, aber veraltet sind, auf Aktualisieren.
Wendet die Aktionen nicht automatisch an.</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>Set &amp;Update of Listed</source>
        <translation>Akt&amp;ualisierungen vormerken</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Sets the Action to Update for any packages which are Installed but Out-of-date,
and which are currently listed based on the the Mode, Filter, Search, State, Duplicates, and Groups settings.
Does not Apply Actions automatically.</source>
        <translation>Setzt die Aktion auf Aktualisieren für alle Pakete, die installiert, aber veraltet sind
und nach den Einstellungen für Modus, Filter, Suche, Status, Duplikate und Gruppen gerade angezeigt werden.
Wendet die Aktionen nicht automatisch an.</translation>
    </message>
    <message>
        <location line="+8"/>
        <source>&amp;Clear Actions</source>
        <translation>Aktionen &amp;löschen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Clears all specified Actions (Updates, Installs, and Removals)</source>
        <translation>Setzt alle festgelegten Aktionen zurück (Aktualisierungen, Installationen und Entfernungen)</translation>
    </message>
    <message>
        <location line="+10"/>
        <source>&amp;Apply Actions</source>
        <translation>Aktionen &amp;anwenden</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Applies the specified Actions (Updates, Installs, and Removals)</source>
        <translation>Wendet die festgelegten Aktionen an (Aktualisierungen, Installationen und Entfernungen)</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>Filter for those packages which are eligible for updating,
for installing, or for removing; or show all packages</source>
        <translation>Nur die Pakete zeigen, die sich aktualisieren,
installieren oder entfernen lassen, oder alle Pakete zeigen</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Whether or not filter should include packages with duplicate names.
If unchecked, the package with the architecture closest to the base architecture is shown.</source>
        <translation>Ob der Filter Pakete mit gleichem Namen einbezieht.
Wenn nicht, wird das Paket gezeigt, dessen Architektur der Basisarchitektur am nächsten ist.</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Whether or not filter should include package groups</source>
        <translation>Ob der Filter Paketgruppen einbezieht</translation>
    </message>
    <message>
        <location line="+8"/>
        <source>Cancel &amp;Download</source>
        <translation>&amp;Download abbrechen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Stop the downloads: the package list is read from the metadata already in the cache, and no package is installed, updated or removed</source>
        <translation>Die Downloads anhalten: Die Paketliste wird aus den Metadaten im Cache gelesen, und kein Paket wird installiert, aktualisiert oder entfernt</translation>
    </message>
    <message>
        <location line="+27"/>
        <location line="+492"/>
        <source>Unlisted Actions</source>
        <translation>Nicht angezeigte Aktionen</translation>
    </message>
    <message>
        <location line="-419"/>
        <source>SORVAN runs without root (user id %1): it lists and searches packages, but applying actions needs root. Start it as root to change the system, for example with: pkexec sorvan</source>
        <translation>SORVAN läuft ohne Root-Rechte (Benutzerkennung %1): Es zeigt und durchsucht Pakete, aber zum Anwenden von Aktionen sind Root-Rechte nötig. Starten Sie es als root, um das System zu ändern, zum Beispiel mit: pkexec sorvan</translation>
    </message>
    <message>
        <location line="+130"/>
        <location line="+54"/>
        <location line="+63"/>
        <source>SORVAN</source>
        <translation>SORVAN</translation>
    </message>
    <message numerus="yes">
        <location line="-116"/>
        <source>%n marked action(s) will be lost.</source>
        <translation>
            <numerusform>%n vorgemerkte Aktion geht verloren.</numerusform>
            <numerusform>%n vorgemerkte Aktionen gehen verloren.</numerusform>
        </translation>
    </message>
    <message>
        <location line="+11"/>
        <source>Refresh the package list?</source>
        <translation>Die Paketliste neu laden?</translation>
    </message>
    <message>
        <location line="+22"/>
        <source>Cancelling the downloads.</source>
        <translation>Die Downloads werden abgebrochen.</translation>
    </message>
    <message>
        <location line="+16"/>
        <source>SORVAN will quit as soon as the running operation has finished.
A transaction that has started is never interrupted.</source>
        <translation>SORVAN wird beendet, sobald der laufende Vorgang abgeschlossen ist.
Eine begonnene Transaktion wird nie unterbrochen.</translation>
    </message>
    <message>
        <location line="+11"/>
        <source>Quit SORVAN?</source>
        <translation>SORVAN beenden?</translation>
    </message>
    <message>
        <location line="+57"/>
        <source>The manual is not installed.
SORVAN looked for it in:
%1</source>
        <translation>Das Handbuch ist nicht installiert.
SORVAN hat hier danach gesucht:
%1</translation>
    </message>
    <message>
        <location line="+39"/>
        <source>About</source>
        <translation>Über</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>&lt;h3&gt;SORVAN %1&lt;/h3&gt;&lt;hr&gt;&lt;p&gt;SORVAN, Quorvel, is a graphical user interface which allows a user to make modifications to the installed rpm packages on a system.&lt;/p&gt;&lt;p&gt;Capabilities:&lt;p&gt;&lt;ul&gt;&lt;li&gt;Install new packages or update existing packages by downloading them from a yum package repository&lt;/li&gt;&lt;li&gt;Remove existing packages.&lt;/li&gt;&lt;li&gt;Configure sets of repositories from which to obtain new and updated packages.&lt;/li&gt;&lt;li&gt;Examine installed packages or packages available for installation or update&lt;/li&gt;&lt;li&gt;Install, update, or remove groups of packages&lt;/li&gt;&lt;li&gt;Install or update suites of packages&lt;/li&gt;&lt;/ul&gt;</source>
        <translation>&lt;h3&gt;SORVAN %1&lt;/h3&gt;&lt;hr&gt;&lt;p&gt;SORVAN, Quorvel, ist eine grafische Oberfläche, mit der ein Benutzer die installierten RPM-Pakete eines Systems verändern kann.&lt;/p&gt;&lt;p&gt;Fähigkeiten:&lt;p&gt;&lt;ul&gt;&lt;li&gt;Neue Pakete installieren oder vorhandene aktualisieren, indem sie aus einer Yum-Paketquelle heruntergeladen werden&lt;/li&gt;&lt;li&gt;Vorhandene Pakete entfernen.&lt;/li&gt;&lt;li&gt;Die Paketquellen einrichten, aus denen neue und aktualisierte Pakete bezogen werden.&lt;/li&gt;&lt;li&gt;Installierte Pakete und Pakete ansehen, die zur Installation oder Aktualisierung bereitstehen&lt;/li&gt;&lt;li&gt;Paketgruppen installieren, aktualisieren oder entfernen&lt;/li&gt;&lt;li&gt;Paketsammlungen installieren oder aktualisieren&lt;/li&gt;&lt;/ul&gt;</translation>
    </message>
    <message>
        <location line="+12"/>
        <source>&lt;p&gt;For more information see %1.&lt;/p&gt;</source>
        <translation>&lt;p&gt;Weitere Informationen unter %1.&lt;/p&gt;</translation>
    </message>
    <message>
        <location line="+37"/>
        <source>This expression is not valid: every package matches it.</source>
        <translation>Dieser Ausdruck ist ungültig: Jedes Paket passt auf ihn.</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Regular expression to compare to all fields of a package</source>
        <translation>Regulärer Ausdruck, der mit allen Feldern eines Pakets verglichen wird</translation>
    </message>
    <message>
        <location line="+13"/>
        <source>Perform the search for the regular expression specified to the left</source>
        <translation>Nach dem links angegebenen regulären Ausdruck suchen</translation>
    </message>
    <message>
        <location line="-12"/>
        <source>Regular expression filter matching textual fields visible in the table</source>
        <translation>Regulärer Ausdruck als Filter über die in der Tabelle sichtbaren Textfelder</translation>
    </message>
    <message>
        <location line="+15"/>
        <source>Apply the filter specified to the left</source>
        <translation>Den links angegebenen Filter anwenden</translation>
    </message>
    <message>
        <location line="+44"/>
        <source>Specify the method for using a regular expression to select packages in the table:
	Filter uses the textual fields visible in the table, as if they were separated by spaces.
	Search uses all fields in packages, including list of Files, Change Log, Requires, etc.,
	independently.  It is considerably slower.</source>
        <translation>Legt fest, wie ein regulärer Ausdruck die Pakete der Tabelle auswählt:
	Filtern verwendet die in der Tabelle sichtbaren Textfelder, als wären sie durch Leerzeichen getrennt.
	Suchen verwendet alle Felder der Pakete, auch Dateiliste, Änderungsprotokoll, Abhängigkeiten usw.,
	jedes für sich.  Es ist erheblich langsamer.</translation>
    </message>
    <message>
        <location line="+10"/>
        <source>%1 (Must load extra data.)</source>
        <translation>%1 (Muss zusätzliche Daten laden.)</translation>
    </message>
    <message>
        <location line="+12"/>
        <source>Some packages have actions specified, but because of the current
Mode, Filter, Search, State, Duplicates, and Groups settings,
these packages are not listed currently.
Pressing Apply will cause these actions to occur nonetheless.</source>
        <translation>Für einige Pakete sind Aktionen festgelegt, aber wegen der aktuellen
Einstellungen für Modus, Filter, Suche, Status, Duplikate und Gruppen
werden diese Pakete gerade nicht angezeigt.
Beim Anwenden werden diese Aktionen trotzdem ausgeführt.</translation>
    </message>
    <message>
        <location line="+90"/>
        <source>No configured repository matches %1=%2; it is ignored.</source>
        <translation>Keine konfigurierte Paketquelle passt zu %1=%2; die Angabe wird ignoriert.</translation>
    </message>
    <message>
        <location line="+55"/>
        <source>Clean RPM package headers cached locally in %1</source>
        <translation>Die in %1 zwischengespeicherten Kopfdaten der RPM-Pakete löschen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Clean RPM packages cached locally in %1
(useful for recovering disk space)</source>
        <translation>Die in %1 zwischengespeicherten RPM-Pakete löschen
(nützlich, um Plattenplatz freizugeben)</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Clean XML metadata cached locally in %1
(useful along with Clean Pickled Data for
 forcing download of new available package lists)</source>
        <translation>Die in %1 zwischengespeicherten XML-Metadaten löschen
(nützlich zusammen mit „Pickle-Daten leeren“, um
 das Herunterladen neuer Paketlisten zu erzwingen)</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>Clean pickled data cached locally in %1
(useful along with Clean XML Metadata for
 forcing download of new available package lists)</source>
        <translation>Die in %1 zwischengespeicherten Pickle-Daten löschen
(nützlich zusammen mit „XML-Metadaten leeren“, um
 das Herunterladen neuer Paketlisten zu erzwingen)</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>Clean sqlite data cached locally in %1
(useful along with Clean XML Metadata for
 forcing download of new available package lists)</source>
        <translation>Die in %1 zwischengespeicherten SQLite-Daten löschen
(nützlich zusammen mit „XML-Metadaten leeren“, um
 das Herunterladen neuer Paketlisten zu erzwingen)</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Clean all data cached locally in %1</source>
        <translation>Alle in %1 zwischengespeicherten Daten löschen</translation>
    </message>
    <message>
        <location line="+10"/>
        <location line="+9"/>
        <source>SORVAN Yum Error</source>
        <translation>SORVAN – Yum-Fehler</translation>
    </message>
    <message>
        <location line="-8"/>
        <source>Cleaning the cache %1 needs root.
Start SORVAN as root to clean it, for example with: pkexec sorvan</source>
        <translation>Das Leeren des Caches %1 erfordert Root-Rechte.
Starten Sie SORVAN als root, um ihn zu leeren, zum Beispiel mit: pkexec sorvan</translation>
    </message>
    <message>
        <location line="+9"/>
        <source>Unable to clean the cache completely:
%1</source>
        <translation>Der Cache konnte nicht vollständig geleert werden:
%1</translation>
    </message>
</context>
<context>
    <name>Package</name>
    <message>
        <location filename="../yumio/Package.cpp" line="+25"/>
        <source>Available for update</source>
        <translation>Aktualisierung verfügbar</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Available for installation</source>
        <translation>Zur Installation verfügbar</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Installed</source>
        <translation>Installiert</translation>
    </message>
    <message>
        <location line="+9"/>
        <source>Suite of packages</source>
        <translation>Paketsammlung</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Group of packages</source>
        <translation>Paketgruppe</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Ordinary package</source>
        <translation>Einzelnes Paket</translation>
    </message>
    <message>
        <location line="+44"/>
        <source>b</source>
        <translation>B</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Kb</source>
        <translation>KB</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Mb</source>
        <translation>MB</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Gb</source>
        <translation>GB</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Tb</source>
        <translation>TB</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Pb</source>
        <translation>PB</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Eb</source>
        <translation>EB</translation>
    </message>
</context>
<context>
    <name>PackageTable::ActionContextMenu</name>
    <message>
        <location filename="../packagetable/PackageTableActionContextMenu.cpp" line="+16"/>
        <source>&amp;Update</source>
        <translation>&amp;Aktualisieren</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>&amp;Install</source>
        <translation>&amp;Installieren</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>&amp;Remove</source>
        <translation>&amp;Entfernen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>&amp;No Action</source>
        <translation>&amp;Keine Aktion</translation>
    </message>
</context>
<context>
    <name>PackageTable::Describe::Dialog</name>
    <message>
        <location filename="../packagetable/PackageTableDescribeDialog.cpp" line="+20"/>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>SORVAN Package Description</source>
        <translation>SORVAN – Paketbeschreibung</translation>
    </message>
</context>
<context>
    <name>PackageTable::Describe::Instance::Area</name>
    <message>
        <location filename="../packagetable/PackageTableDescribeInstanceArea.cpp" line="+53"/>
        <location line="+12"/>
        <source>Kind</source>
        <translation>Art</translation>
    </message>
    <message>
        <location line="-11"/>
        <source>Required Groups</source>
        <translation>Benötigte Gruppen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Default MetaPkgs</source>
        <translation>Standard-Metapakete</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Optional MetaPkgs</source>
        <translation>Optionale Metapakete</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Mandatory Packages</source>
        <translation>Pflichtpakete</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Default Packages</source>
        <translation>Standardpakete</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Optional Packages</source>
        <translation>Optionale Pakete</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Conditional Packages</source>
        <translation>Bedingte Pakete</translation>
    </message>
    <message>
        <location line="+6"/>
        <location line="+24"/>
        <source>Version</source>
        <translation>Version</translation>
    </message>
    <message>
        <location line="-20"/>
        <location line="+21"/>
        <source>Architecture</source>
        <translation>Architektur</translation>
    </message>
    <message>
        <location line="-20"/>
        <location line="+21"/>
        <source>Size</source>
        <translation>Größe</translation>
    </message>
    <message>
        <location line="-20"/>
        <source>Summary</source>
        <translation>Zusammenfassung</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Description</source>
        <translation>Beschreibung</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Group</source>
        <translation>Gruppe</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Vendor</source>
        <translation>Anbieter</translation>
    </message>
    <message>
        <location line="+1"/>
        <location line="+17"/>
        <source>Build Time</source>
        <translation>Erstellungszeit</translation>
    </message>
    <message>
        <location line="-16"/>
        <source>Build Host</source>
        <translation>Erstellungsrechner</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Install Time</source>
        <translation>Installationszeit</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Binary RPM</source>
        <translation>Binär-RPM</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Source RPM</source>
        <translation>Quell-RPM</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>License</source>
        <translation>Lizenz</translation>
    </message>
    <message>
        <location line="+1"/>
        <location line="+12"/>
        <source>Packager</source>
        <translation>Paketersteller</translation>
    </message>
    <message>
        <location line="-11"/>
        <source>URL</source>
        <translation>URL</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Relocations</source>
        <translation>Verschiebungen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Provides</source>
        <translation>Stellt bereit</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Requires</source>
        <translation>Benötigt</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Conflicts</source>
        <translation>Konflikte</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Obsoletes</source>
        <translation>Ersetzt</translation>
    </message>
    <message>
        <location line="+8"/>
        <location line="+1"/>
        <source>Show</source>
        <translation>Anzeigen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Files</source>
        <translation>Dateien</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Change Log</source>
        <translation>Änderungsprotokoll</translation>
    </message>
    <message>
        <location line="+9"/>
        <location line="+25"/>
        <location line="+34"/>
        <source>%1:</source>
        <translation>%1:</translation>
    </message>
    <message>
        <location line="-34"/>
        <source>Repository</source>
        <translation>Paketquelle</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Details</source>
        <translation>Details</translation>
    </message>
    <message>
        <location line="+49"/>
        <source>%1 (must load extra data)</source>
        <translation>%1 (muss zusätzliche Daten laden)</translation>
    </message>
    <message>
        <location line="+8"/>
        <source>%1 %2 File List</source>
        <translation>Dateiliste von %1 %2</translation>
    </message>
    <message>
        <location line="+9"/>
        <source>%1 %2 Change Log</source>
        <translation>Änderungsprotokoll von %1 %2</translation>
    </message>
</context>
<context>
    <name>PackageTable::Describe::Instance::RepoDialog</name>
    <message>
        <location filename="../packagetable/PackageTableDescribeInstanceRepoDialog.cpp" line="+21"/>
        <source>SORVAN Repository Description</source>
        <translation>SORVAN – Beschreibung der Paketquelle</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Browse Repository</source>
        <translation>Paketquelle im Browser öffnen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Browse the first URL specified for the selected repository using an external web browser</source>
        <translation>Die erste URL der ausgewählten Paketquelle in einem externen Webbrowser öffnen</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <location line="+22"/>
        <source>%1:</source>
        <translation>%1:</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>URLs</source>
        <translation>URLs</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Mirror list URL</source>
        <translation>URL der Spiegelliste</translation>
    </message>
</context>
<context>
    <name>PackageTable::Model</name>
    <message>
        <location filename="../packagetable/PackageTableModel.cpp" line="+80"/>
        <source>Installed: %1
</source>
        <translation>Installiert: %1
</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Available: %1
</source>
        <translation>Verfügbar: %1
</translation>
    </message>
    <message>
        <location line="+83"/>
        <source>Update</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Install</source>
        <translation>Installieren</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>No action</source>
        <translation>Keine Aktion</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>Out of date</source>
        <translation>Veraltet</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Available</source>
        <translation>Verfügbar</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Installed</source>
        <translation>Installiert</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>Suite</source>
        <translation>Paketsammlung</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Group</source>
        <translation>Gruppe</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Package</source>
        <translation>Paket</translation>
    </message>
    <message>
        <location line="+12"/>
        <source>Update package</source>
        <translation>Paket aktualisieren</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Install package</source>
        <translation>Paket installieren</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Remove package</source>
        <translation>Paket entfernen</translation>
    </message>
    <message>
        <location line="+8"/>
        <source>Package is available to update an out-of-date version</source>
        <translation>Paket ist als Aktualisierung einer veralteten Version verfügbar</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Package is available for installation</source>
        <translation>Paket ist zur Installation verfügbar</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Package is installed and up-to-date</source>
        <translation>Paket ist installiert und aktuell</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>Suite of packages</source>
        <translation>Paketsammlung</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Group of packages</source>
        <translation>Paketgruppe</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Ordinary package</source>
        <translation>Einzelnes Paket</translation>
    </message>
    <message>
        <location line="+33"/>
        <source>Action</source>
        <translation>Aktion</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>State</source>
        <translation>Status</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Kind</source>
        <translation>Art</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Version</source>
        <translation>Version</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Repository</source>
        <translation>Paketquelle</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Architecture</source>
        <translation>Architektur</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Size</source>
        <translation>Größe</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Build Time</source>
        <translation>Erstellungszeit</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Action to be performed on the package, if any: Update, Install, Remove</source>
        <translation>Aktion, die mit dem Paket ausgeführt wird, falls eine: Aktualisieren, Installieren, Entfernen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Indicates whether the package is Installed or not and, if installed, whether it is Up-to-date or not</source>
        <translation>Zeigt, ob das Paket installiert ist und, falls ja, ob es aktuell ist</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Whether the package is an ordinary package, a suite of packages, or a group of packages</source>
        <translation>Ob es sich um ein einzelnes Paket, eine Paketsammlung oder eine Paketgruppe handelt</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Name of the package</source>
        <translation>Name des Pakets</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Version and release of the package as version-release;
If the Epoch is non-zero, includes it as epoch:version-release</source>
        <translation>Version und Release des Pakets als Version-Release;
ist die Epoche nicht null, als Epoche:Version-Release</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Repository from which the most recent version of the package is available</source>
        <translation>Paketquelle, aus der die neueste Version des Pakets verfügbar ist</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Architecture for which the package is applicable, or &quot;noarch&quot; for general-purpose packages</source>
        <translation>Architektur, für die das Paket bestimmt ist, oder „noarch“ für architekturunabhängige Pakete</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Size of the package</source>
        <translation>Größe des Pakets</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Date and time at which the package was created</source>
        <translation>Datum und Uhrzeit der Erstellung des Pakets</translation>
    </message>
</context>
<context>
    <name>PackageTable::OtherContextMenu</name>
    <message>
        <location filename="../packagetable/PackageTableOtherContextMenu.cpp" line="+15"/>
        <source>&amp;Describe</source>
        <translation>&amp;Beschreiben</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Browse Repository</source>
        <translation>Paketquelle im Browser öffnen</translation>
    </message>
</context>
<context>
    <name>PasswdLineEdit</name>
    <message>
        <location filename="../widgets/PasswdLineEdit.cpp" line="+218"/>
        <source>Hide password</source>
        <translation>Passwort verbergen</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Show password</source>
        <translation>Passwort anzeigen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Hide the password in this URL</source>
        <translation>Das Passwort in dieser URL verbergen</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Show the password in this URL</source>
        <translation>Das Passwort in dieser URL anzeigen</translation>
    </message>
</context>
<context>
    <name>PasswdTextEdit</name>
    <message>
        <location filename="../widgets/PasswdTextEdit.cpp" line="+97"/>
        <source>Hide passwords</source>
        <translation>Passwörter verbergen</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Show passwords</source>
        <translation>Passwörter anzeigen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Hide the passwords in these URLs</source>
        <translation>Die Passwörter in diesen URLs verbergen</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Show the passwords in these URLs</source>
        <translation>Die Passwörter in diesen URLs anzeigen</translation>
    </message>
</context>
<context>
    <name>Progress::Minion</name>
    <message>
        <location filename="../progress/ProgressMinion.cpp" line="+215"/>
        <location line="+28"/>
        <source>%1 downloads</source>
        <translation>%1 Downloads</translation>
    </message>
    <message>
        <location line="-28"/>
        <location line="+17"/>
        <source>Complete</source>
        <translation>Abgeschlossen</translation>
    </message>
    <message>
        <location line="-10"/>
        <source>In Progress</source>
        <translation>Läuft</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>%1 / %2 (%3%%)</source>
        <translation>%1 / %2 (%3%%)</translation>
    </message>
    <message>
        <location line="+12"/>
        <source>Retrying</source>
        <translation>Neuer Versuch</translation>
    </message>
    <message>
        <location line="+9"/>
        <source>Not Started Yet</source>
        <translation>Noch nicht begonnen</translation>
    </message>
</context>
<context>
    <name>QLineEdit</name>
    <message>
        <location filename="../widgets/PasswdLineEdit.cpp" line="-80"/>
        <source>&amp;Copy</source>
        <translation>&amp;Kopieren</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Cu&amp;t</source>
        <translation>&amp;Ausschneiden</translation>
    </message>
</context>
<context>
    <name>RepoAuth::Dialog</name>
    <message>
        <location filename="../repo/RepoAuthDialog.cpp" line="+39"/>
        <source>SORVAN Authentication</source>
        <translation>SORVAN – Authentifizierung</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>Some configured repositories require authentication</source>
        <translation>Einige konfigurierte Paketquellen erfordern eine Authentifizierung</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>Identifier</source>
        <translation>Kennung</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>URLs</source>
        <translation>URLs</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Mirror list URL</source>
        <translation>URL der Spiegelliste</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>Authentication name for a repository using the buffet authentication method</source>
        <translation>Benutzername für eine Paketquelle mit Buffet-Authentifizierung</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>Authentication password for a repository using the buffet authentication method</source>
        <translation>Passwort für eine Paketquelle mit Buffet-Authentifizierung</translation>
    </message>
    <message>
        <location line="+16"/>
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Disable for Session</source>
        <translation>Für diese Sitzung deaktivieren</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Skip All</source>
        <translation>Alle überspringen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Apply to All</source>
        <translation>Auf alle anwenden</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Apply to All with this Host</source>
        <translation>Auf alle mit diesem Rechner anwenden</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>OK</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>RepoBrowse</name>
    <message>
        <location filename="../repo/RepoBrowse.cpp" line="+41"/>
        <source>Error</source>
        <translation>Fehler</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Repository configuration has no URL</source>
        <translation>Die Konfiguration der Paketquelle enthält keine URL</translation>
    </message>
</context>
<context>
    <name>RepoEditor::Config</name>
    <message>
        <location filename="../repo/RepoEditorConfig.cpp" line="+53"/>
        <source>No</source>
        <translation>Nein</translation>
    </message>
    <message>
        <location line="+0"/>
        <location line="+140"/>
        <source>Default</source>
        <translation>Voreinstellung</translation>
    </message>
    <message>
        <location line="-140"/>
        <source>Yes</source>
        <translation>Ja</translation>
    </message>
    <message>
        <location line="+11"/>
        <source>Identifier</source>
        <translation>Kennung</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Unique identifier for the repository</source>
        <translation>Eindeutige Kennung der Paketquelle</translation>
    </message>
    <message>
        <location line="+3"/>
        <location line="+209"/>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <location line="-209"/>
        <source>Description of the repository</source>
        <translation>Beschreibung der Paketquelle</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>URLs</source>
        <translation>URLs</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>List of URLs to the repository.
If more than one is specified, they all should be identical mirrors,
and will provide redundancy if some URLs are unreachable.</source>
        <translation>Liste der URLs der Paketquelle.
Sind mehrere angegeben, sollten alle identische Spiegel sein;
sie sorgen für Ausfallsicherheit, wenn einige URLs nicht erreichbar sind.</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>Mirror list URL</source>
        <translation>URL der Spiegelliste</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>URL to a file containing a list of URLs to the repository.</source>
        <translation>URL einer Datei mit einer Liste von URLs der Paketquelle.</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Buffet Authentication</source>
        <translation>Buffet-Authentifizierung</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Authentication name for a repository using the buffet authentication method</source>
        <translation>Benutzername für eine Paketquelle mit Buffet-Authentifizierung</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>Password</source>
        <translation>Passwort</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Authentication password for a repository using the buffet authentication method</source>
        <translation>Passwort für eine Paketquelle mit Buffet-Authentifizierung</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>Other Options:</source>
        <translation>Weitere Optionen:</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Any other yum options for this repository.  See yum.conf(5)</source>
        <translation>Beliebige weitere Yum-Optionen für diese Paketquelle.  Siehe yum.conf(5)</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Enabled</source>
        <translation>Aktiviert</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Whether or not the repository is enabled for use</source>
        <translation>Ob die Paketquelle zur Verwendung aktiviert ist</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Check GPG Keys</source>
        <translation>GPG-Schlüssel prüfen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Whether or not GPG key signatures of packages from the repository are checked to ensure authenticity</source>
        <translation>Ob die GPG-Signaturen der Pakete aus dieser Paketquelle geprüft werden, um ihre Echtheit sicherzustellen</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Configuration File (expert)</source>
        <translation>Konfigurationsdatei (für Fachleute)</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>File</source>
        <translation>Datei</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Name of the yum configuration file into which to place this repository configuration.
If left blank, defaults to the repository&apos;s identifier</source>
        <translation>Name der Yum-Konfigurationsdatei, in die diese Paketquellen-Konfiguration geschrieben wird.
Bleibt er leer, wird die Kennung der Paketquelle verwendet</translation>
    </message>
    <message>
        <location line="+11"/>
        <source>Sort Position</source>
        <translation>Sortierposition</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>A numeric sort key which determines the order of this repository configuration
in a configuration file which contains multiple configurations</source>
        <translation>Ein numerischer Sortierschlüssel, der die Reihenfolge dieser Paketquellen-Konfiguration
in einer Konfigurationsdatei mit mehreren Konfigurationen bestimmt</translation>
    </message>
    <message>
        <location line="+66"/>
        <source>%1 %2</source>
        <translation>%1 %2</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>(Yes)</source>
        <translation>(Ja)</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>(No)</source>
        <translation>(Nein)</translation>
    </message>
    <message>
        <location line="+15"/>
        <source>No Identifier specified</source>
        <translation>Keine Kennung angegeben</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>No URLs or Mirror list URL specified</source>
        <translation>Weder URLs noch URL der Spiegelliste angegeben</translation>
    </message>
    <message>
        <location line="+12"/>
        <source>File is not in any reposdir directory</source>
        <translation>Die Datei liegt in keinem reposdir-Verzeichnis</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>File lacks .repo suffix</source>
        <translation>Der Datei fehlt die Endung .repo</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>No Buffet Authentication Name specified</source>
        <translation>Kein Benutzername für die Buffet-Authentifizierung angegeben</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>No Buffet Authentication Password specified</source>
        <translation>Kein Passwort für die Buffet-Authentifizierung angegeben</translation>
    </message>
</context>
<context>
    <name>RepoEditor::ConfigDialog</name>
    <message>
        <location filename="../repo/RepoEditorConfigDialog.cpp" line="+20"/>
        <source>SORVAN Repository Configuration</source>
        <translation>SORVAN – Konfiguration der Paketquelle</translation>
    </message>
    <message>
        <location line="+13"/>
        <source>Reset</source>
        <translation>Zurücksetzen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Undo changes to this repository configuration</source>
        <translation>Änderungen an dieser Paketquellen-Konfiguration rückgängig machen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Undo changes to this repository configuration and close the window</source>
        <translation>Änderungen an dieser Paketquellen-Konfiguration rückgängig machen und das Fenster schließen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Apply changes to all repository configurations, and close the window</source>
        <translation>Änderungen an allen Paketquellen-Konfigurationen anwenden und das Fenster schließen</translation>
    </message>
</context>
<context>
    <name>RepoEditor::ContextMenu</name>
    <message>
        <location filename="../repo/RepoEditorContextMenu.cpp" line="+12"/>
        <source>Edit</source>
        <translation>Bearbeiten</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Browse Repository</source>
        <translation>Paketquelle im Browser öffnen</translation>
    </message>
</context>
<context>
    <name>RepoEditor::Dialog</name>
    <message>
        <location filename="../repo/RepoEditorDialog.cpp" line="+45"/>
        <source>SORVAN Repository Configuration Editor</source>
        <translation>SORVAN – Paketquellen bearbeiten</translation>
    </message>
    <message>
        <location line="+9"/>
        <source>Browse Repository</source>
        <translation>Paketquelle im Browser öffnen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Browse the first URL specified for the selected repository using an external web browser</source>
        <translation>Die erste URL der ausgewählten Paketquelle in einem externen Webbrowser öffnen</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Edit</source>
        <translation>Bearbeiten</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Edit the selected repository configuration</source>
        <translation>Die ausgewählte Paketquellen-Konfiguration bearbeiten</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Add</source>
        <translation>Hinzufügen</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Create a new repository configuration from scratch</source>
        <translation>Eine neue, leere Paketquellen-Konfiguration anlegen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Create a new repository configuration based on the selected repository</source>
        <translation>Eine neue Paketquellen-Konfiguration auf Grundlage der ausgewählten anlegen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Remove the selected repository configuration</source>
        <translation>Die ausgewählte Paketquellen-Konfiguration entfernen</translation>
    </message>
    <message>
        <location line="+10"/>
        <source>Reset All</source>
        <translation>Alles zurücksetzen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Undo changes to all repository configurations since the last Apply or opening of the dialog</source>
        <translation>Alle Änderungen an den Paketquellen-Konfigurationen seit dem letzten Anwenden oder dem Öffnen des Dialogs rückgängig machen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Undo changes to all repository configurations since the last Apply or opening of the dialog, and close the window</source>
        <translation>Alle Änderungen an den Paketquellen-Konfigurationen seit dem letzten Anwenden oder dem Öffnen des Dialogs rückgängig machen und das Fenster schließen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Apply</source>
        <translation>Anwenden</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Apply changes to all repository configurations, but do not close the window</source>
        <translation>Änderungen an allen Paketquellen-Konfigurationen anwenden, ohne das Fenster zu schließen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Apply changes to all repository configurations, and close the window</source>
        <translation>Änderungen an allen Paketquellen-Konfigurationen anwenden und das Fenster schließen</translation>
    </message>
    <message>
        <location line="+101"/>
        <source>A repository has no Identifier</source>
        <translation>Eine Paketquelle hat keine Kennung</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Two or more repositories have the Identifier, %1</source>
        <translation>Zwei oder mehr Paketquellen haben die Kennung %1</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Unapplied Configuration Changes</source>
        <translation>Nicht angewendete Konfigurationsänderungen</translation>
    </message>
</context>
<context>
    <name>RepoEditor::Model</name>
    <message>
        <location filename="../repo/RepoEditorModel.cpp" line="+46"/>
        <source>Repository is enabled for this session</source>
        <translation>Paketquelle ist für diese Sitzung aktiviert</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Repository is not enabled for this session</source>
        <translation>Paketquelle ist für diese Sitzung nicht aktiviert</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>Repository is configured to be enabled</source>
        <translation>Paketquelle ist dauerhaft aktiviert</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Repository is not configured to be enabled</source>
        <translation>Paketquelle ist nicht dauerhaft aktiviert</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>(new)</source>
        <translation>(neu)</translation>
    </message>
    <message>
        <location line="+19"/>
        <source>Whether or not the repository is used during this session.
It overrides the persistent Enabled flag in the repository configuration.</source>
        <translation>Ob die Paketquelle in dieser Sitzung verwendet wird.
Dies hat Vorrang vor der dauerhaften Einstellung „Aktiviert“ der Paketquellen-Konfiguration.</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Sess</source>
        <translation>Sitzung</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Whether or not the repository is configured to be enabled by default.
It can be overridden for a particular session.</source>
        <translation>Ob die Paketquelle dauerhaft aktiviert ist.
Dies kann für eine einzelne Sitzung geändert werden.</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Perm</source>
        <translation>Dauerhaft</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Unique identifier for the repository</source>
        <translation>Eindeutige Kennung der Paketquelle</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Identifier</source>
        <translation>Kennung</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Description of the repository</source>
        <translation>Beschreibung der Paketquelle</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Name</source>
        <translation>Name</translation>
    </message>
</context>
<context>
    <name>ScrollableConfirmDialog</name>
    <message>
        <location filename="../widgets/ScrollableConfirmDialog.cpp" line="+11"/>
        <source>&amp;Yes</source>
        <translation>&amp;Ja</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>&amp;No</source>
        <translation>&amp;Nein</translation>
    </message>
</context>
<context>
    <name>ScrollableErrorDialog</name>
    <message>
        <location filename="../widgets/ScrollableErrorDialog.cpp" line="+12"/>
        <source>&amp;OK</source>
        <translation>&amp;OK</translation>
    </message>
</context>
<context>
    <name>YumConfIO</name>
    <message>
        <location filename="../repo/YumConfIO.cpp" line="+114"/>
        <location line="+187"/>
        <location line="+29"/>
        <source>Error reading repository configuration file %1</source>
        <translation>Fehler beim Lesen der Paketquellen-Konfigurationsdatei %1</translation>
    </message>
    <message>
        <location line="-90"/>
        <source>Malformed section name in line: %1</source>
        <translation>Fehlerhafter Abschnittsname in der Zeile: %1</translation>
    </message>
    <message>
        <location line="+118"/>
        <source>Unable to read yum configuration file %1</source>
        <translation>Die Yum-Konfigurationsdatei %1 kann nicht gelesen werden</translation>
    </message>
    <message>
        <location line="+17"/>
        <location line="+405"/>
        <source>Unable to stat repository configuration file %1</source>
        <translation>Der Status der Paketquellen-Konfigurationsdatei %1 kann nicht ermittelt werden</translation>
    </message>
    <message>
        <location line="-396"/>
        <source>Unable to read repository configuration file %1</source>
        <translation>Die Paketquellen-Konfigurationsdatei %1 kann nicht gelesen werden</translation>
    </message>
    <message>
        <location line="+42"/>
        <source>A repository has no Identifier.  It will be removed.</source>
        <translation>Eine Paketquelle hat keine Kennung.  Sie wird entfernt.</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>Two or more repositories have the same Identifier(s), %1.  Only one repository will be applied for each Identifier.</source>
        <translation>Zwei oder mehr Paketquellen haben dieselbe Kennung (%1).  Für jede Kennung wird nur eine Paketquelle angewendet.</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>  Proceed?</source>
        <translation>  Fortfahren?</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Repository Editor</source>
        <translation>Paketquellen-Editor</translation>
    </message>
    <message>
        <location line="+127"/>
        <source>The Identifier &quot;%1&quot; contains &quot;%2&quot;, which dnf does not accept in an identifier: use letters, digits and the characters - _ . : only.  Nothing was written.</source>
        <translation>Die Kennung „%1“ enthält „%2“, was dnf in einer Kennung nicht akzeptiert: Verwenden Sie nur Buchstaben, Ziffern und die Zeichen - _ . :.  Es wurde nichts geschrieben.</translation>
    </message>
    <message>
        <location line="+8"/>
        <source>Repository %1 has no URLs and no Mirror list URL, so dnf cannot use it.  Nothing was written.</source>
        <translation>Die Paketquelle %1 hat weder URLs noch eine URL der Spiegelliste, daher kann dnf sie nicht verwenden.  Es wurde nichts geschrieben.</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>The Other Options of repository %1 have a line beginning with &quot;[&quot;, which would start a new section.  Nothing was written.</source>
        <translation>Die weiteren Optionen der Paketquelle %1 enthalten eine Zeile, die mit „[“ beginnt und damit einen neuen Abschnitt anfangen würde.  Es wurde nichts geschrieben.</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>URLs</source>
        <translation>URLs</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Mirror list URL</source>
        <translation>URL der Spiegelliste</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Repository %2 has a buffet authentication URL in its %1 with only one of the two key=value pairs; it needs both, the name and the password.  Nothing was written.</source>
        <translation>Die Paketquelle %2 hat in „%1“ eine URL mit Buffet-Authentifizierung, die nur eines der beiden Schlüssel=Wert-Paare enthält; nötig sind beide, Name und Passwort.  Es wurde nichts geschrieben.</translation>
    </message>
    <message>
        <location line="+30"/>
        <source>Repository configuration file %1 was changed by another program after SORVAN read it.</source>
        <translation>Die Paketquellen-Konfigurationsdatei %1 wurde von einem anderen Programm geändert, nachdem SORVAN sie gelesen hatte.</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Repository configuration file %1 was made by another program after SORVAN read the configuration.</source>
        <translation>Die Paketquellen-Konfigurationsdatei %1 wurde von einem anderen Programm angelegt, nachdem SORVAN die Konfiguration gelesen hatte.</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>  Nothing was written, so that those changes are not lost.  Use Reset All to read the files again, then repeat your changes.</source>
        <translation>  Es wurde nichts geschrieben, damit diese Änderungen nicht verloren gehen.  Lesen Sie die Dateien mit „Alles zurücksetzen“ neu ein und wiederholen Sie dann Ihre Änderungen.</translation>
    </message>
    <message>
        <location line="+8"/>
        <source>Repository configuration file %1 was changed by another program after SORVAN read it.  Nothing was written, so that those changes are not lost.  Use Reset All to read the files again, then repeat your changes.</source>
        <translation>Die Paketquellen-Konfigurationsdatei %1 wurde von einem anderen Programm geändert, nachdem SORVAN sie gelesen hatte.  Es wurde nichts geschrieben, damit diese Änderungen nicht verloren gehen.  Lesen Sie die Dateien mit „Alles zurücksetzen“ neu ein und wiederholen Sie dann Ihre Änderungen.</translation>
    </message>
    <message>
        <location line="+26"/>
        <source>Internal error: the repository configuration was not read completely, so it is not written</source>
        <translation>Interner Fehler: Die Paketquellen-Konfiguration wurde nicht vollständig gelesen und wird deshalb nicht geschrieben</translation>
    </message>
    <message>
        <location line="+12"/>
        <location line="+59"/>
        <location line="+20"/>
        <source>Unable to write repository configuration file %1</source>
        <translation>Die Paketquellen-Konfigurationsdatei %1 kann nicht geschrieben werden</translation>
    </message>
    <message>
        <location line="-45"/>
        <source>Repository configuration file %1 is written in Latin-1, which cannot hold every character of the repositories placed in it.  Nothing was written.</source>
        <translation>Die Paketquellen-Konfigurationsdatei %1 ist in Latin-1 geschrieben, das nicht alle Zeichen der darin abgelegten Paketquellen darstellen kann.  Es wurde nichts geschrieben.</translation>
    </message>
    <message>
        <location line="+86"/>
        <source>Unable to unlink repository configuration file %1</source>
        <translation>Die Paketquellen-Konfigurationsdatei %1 kann nicht gelöscht werden</translation>
    </message>
    <message>
        <location line="+16"/>
        <location line="+11"/>
        <source>SORVAN Repository Editor Error</source>
        <translation>SORVAN – Fehler im Paketquellen-Editor</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>; errno = %1 (%2).</source>
        <translation>; errno = %1 (%2).</translation>
    </message>
</context>
<context>
    <name>YumIO</name>
    <message>
        <location filename="../yumio/YumIO.cpp" line="+57"/>
        <source>Unable to release yum lock</source>
        <translation>Die Yum-Sperre kann nicht freigegeben werden</translation>
    </message>
    <message>
        <location line="+33"/>
        <source>Internal error: cannot register python yumIOC module</source>
        <translation>Interner Fehler: Das Python-Modul yumIOC kann nicht registriert werden</translation>
    </message>
    <message>
        <location line="+34"/>
        <source>Internal error: cannot find python rpm module</source>
        <translation>Interner Fehler: Das Python-Modul rpm wurde nicht gefunden</translation>
    </message>
    <message>
        <location line="+9"/>
        <source>Internal error: cannot find python rpm dict</source>
        <translation>Interner Fehler: Das Wörterbuch des Python-Moduls rpm wurde nicht gefunden</translation>
    </message>
    <message>
        <location line="+18"/>
        <source>the environment variable SORVANSHARE</source>
        <translation>der Umgebungsvariablen SORVANSHARE</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>the installation (the environment variable SORVANSHARE can name another directory)</source>
        <translation>der Installation (die Umgebungsvariable SORVANSHARE kann ein anderes Verzeichnis angeben)</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Cannot open SORVAN&apos;s companion script %1: %2
SORVAN&apos;s shared-data directory comes from %3.</source>
        <translation>Das Begleitskript von SORVAN %1 kann nicht geöffnet werden: %2
Das Verzeichnis der gemeinsamen Daten von SORVAN stammt aus %3.</translation>
    </message>
    <message>
        <location line="+12"/>
        <source>Cannot run SORVAN&apos;s companion script %1:
%2
SORVAN&apos;s shared-data directory comes from %3.</source>
        <translation>Das Begleitskript von SORVAN %1 kann nicht ausgeführt werden:
%2
Das Verzeichnis der gemeinsamen Daten von SORVAN stammt aus %3.</translation>
    </message>
    <message>
        <location line="+10"/>
        <source>Internal error: cannot find python YumIO</source>
        <translation>Interner Fehler: Python-YumIO wurde nicht gefunden</translation>
    </message>
    <message>
        <location line="+12"/>
        <location filename="../yumio/YumIOCollect.cpp" line="+50"/>
        <location line="+6"/>
        <location line="+10"/>
        <source>Unable to initialize</source>
        <translation>Initialisierung nicht möglich</translation>
    </message>
    <message>
        <location line="+6"/>
        <location line="+630"/>
        <source>Internal error: cannot create python yumIO</source>
        <translation>Interner Fehler: Python-yumIO kann nicht erzeugt werden</translation>
    </message>
    <message>
        <location line="-571"/>
        <source>Internal error: yum version not understood: %1 errno=%2 (%3)</source>
        <translation>Interner Fehler: Yum-Version nicht verstanden: %1 errno=%2 (%3)</translation>
    </message>
    <message>
        <location line="+110"/>
        <source>Internal error: YumIO::pyString called with NULL</source>
        <translation>Interner Fehler: YumIO::pyString mit NULL aufgerufen</translation>
    </message>
    <message>
        <location line="+24"/>
        <source>Internal error: YumIO::pyString did not understand type</source>
        <translation>Interner Fehler: YumIO::pyString hat den Typ nicht verstanden</translation>
    </message>
    <message>
        <location line="+95"/>
        <location line="+66"/>
        <source>SORVAN Yum Error</source>
        <translation>SORVAN – Yum-Fehler</translation>
    </message>
    <message>
        <location line="-53"/>
        <source>SORVAN Yum Warning</source>
        <translation>SORVAN – Yum-Warnung</translation>
    </message>
    <message>
        <location line="+111"/>
        <source>Unable to %1: I/O Error: %2

Emitting a walkback to the Log window.</source>
        <translation>Fehler beim %1: E/A-Fehler: %2

Die Aufrufliste wird im Protokollfenster ausgegeben.</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Unable to %1: KeyboardInterrupt

This usually means SORVAN was sent signal SIGINT, SIGTERM, or similar.

But urlgrabber also can raise this error for several situations where it is just guessing.
So, emitting a walkback to the Log window.</source>
        <translation>Fehler beim %1: KeyboardInterrupt

Meist bedeutet das, dass SORVAN das Signal SIGINT, SIGTERM oder ein ähnliches erhalten hat.

Urlgrabber löst diesen Fehler aber auch in einigen Fällen aus, in denen er nur rät.
Daher wird die Aufrufliste im Protokollfenster ausgegeben.</translation>
    </message>
    <message>
        <location line="+8"/>
        <source>Internal error: python assertion failed
When reporting this issue, please include the contents of the
Log window, which should contain a walkback.</source>
        <translation>Interner Fehler: Python-Zusicherung fehlgeschlagen
Bitte fügen Sie einem Fehlerbericht den Inhalt des
Protokollfensters bei, der eine Aufrufliste enthalten sollte.</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Unable to %1: metadata unavailable from all repo mirrors:
%2</source>
        <translation>Fehler beim %1: Metadaten von keinem Spiegel der Paketquelle verfügbar:
%2</translation>
    </message>
    <message>
        <location line="+8"/>
        <source>Unable to %1: a repository&apos;s sqlite database was locked unexpectedly
On some distributions, PackageKit has been known to cause this.</source>
        <translation>Fehler beim %1: Die SQLite-Datenbank einer Paketquelle war unerwartet gesperrt
Auf manchen Distributionen verursacht PackageKit das bekanntermaßen.</translation>
    </message>
    <message>
        <location line="+8"/>
        <source>Unable to %1</source>
        <translation>Fehler beim %1</translation>
    </message>
    <message>
        <location filename="../yumio/YumIOApply.cpp" line="+48"/>
        <source>update</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>install</source>
        <translation>Installieren</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>remove</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>no action</source>
        <translation>Keine Aktion</translation>
    </message>
    <message>
        <location line="+12"/>
        <source>Changing the system needs root.
SORVAN runs here as user id %1: it can list and search packages, but not install, update or remove them.
Start SORVAN as root to apply actions, for example with: pkexec sorvan</source>
        <translation>Änderungen am System erfordern Root-Rechte.
SORVAN läuft hier mit der Benutzerkennung %1: Es kann Pakete anzeigen und durchsuchen, aber nicht installieren, aktualisieren oder entfernen.
Starten Sie SORVAN als root, um Aktionen anzuwenden, zum Beispiel mit: pkexec sorvan</translation>
    </message>
    <message>
        <location line="+20"/>
        <source>Applying</source>
        <translation>Anwenden</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Checking Dependencies: Total Progress</source>
        <translation>Abhängigkeiten prüfen: Gesamtfortschritt</translation>
    </message>
    <message>
        <location line="+1"/>
        <location line="+703"/>
        <location filename="../yumio/YumIOCollect.cpp" line="+24"/>
        <source>Preparing</source>
        <translation>Vorbereiten</translation>
    </message>
    <message>
        <location line="-653"/>
        <source>Unable to add package %1 to removes list</source>
        <translation>Paket %1 kann nicht zur Liste der Entfernungen hinzugefügt werden</translation>
    </message>
    <message>
        <location line="+11"/>
        <source>Unable to add package %1 to installs list</source>
        <translation>Paket %1 kann nicht zur Liste der Installationen hinzugefügt werden</translation>
    </message>
    <message>
        <location line="+8"/>
        <source>Internal error: Unable to find installed version for package update %1</source>
        <translation>Interner Fehler: Installierte Version zur Paketaktualisierung %1 nicht gefunden</translation>
    </message>
    <message>
        <location line="+11"/>
        <source>Unable to add new package to pair for updated package %1</source>
        <translation>Das neue Paket kann nicht zum Paar des aktualisierten Pakets %1 hinzugefügt werden</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Unable to add old package to pair for updated package %1</source>
        <translation>Das alte Paket kann nicht zum Paar des aktualisierten Pakets %1 hinzugefügt werden</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>Unable to add package %1 to updates list</source>
        <translation>Paket %1 kann nicht zur Liste der Aktualisierungen hinzugefügt werden</translation>
    </message>
    <message>
        <location line="+32"/>
        <source>apply changes</source>
        <translation>Anwenden der Änderungen</translation>
    </message>
    <message>
        <location line="+11"/>
        <source>Nothing to do: the marked actions need no change of the system.</source>
        <translation>Nichts zu tun: Die vorgemerkten Aktionen erfordern keine Änderung am System.</translation>
    </message>
    <message>
        <location line="+71"/>
        <location line="+39"/>
        <source>no such package is available</source>
        <translation>kein solches Paket verfügbar ist</translation>
    </message>
    <message>
        <location line="-32"/>
        <source>it is already installed</source>
        <translation>es bereits installiert ist</translation>
    </message>
    <message>
        <location line="+30"/>
        <source>it is up to date</source>
        <translation>es aktuell ist</translation>
    </message>
    <message>
        <location line="+21"/>
        <source>it is not installed</source>
        <translation>es nicht installiert ist</translation>
    </message>
    <message>
        <location line="+23"/>
        <source>Package %1 is included in group %2 which was marked for %3,
so the package would be marked for %4,
</source>
        <translation>Paket %1 gehört zur Gruppe %2, die für „%3“ vorgemerkt wurde,
daher würde das Paket für „%4“ vorgemerkt,
</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>but it was marked for %1 by an earlier manual resolution.
How do you wish to proceed?</source>
        <translation>aber es wurde durch eine frühere manuelle Entscheidung für „%1“ vorgemerkt.
Wie möchten Sie fortfahren?</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>but it was marked individually for %1.
How do you wish to proceed?</source>
        <translation>aber es wurde einzeln für „%1“ vorgemerkt.
Wie möchten Sie fortfahren?</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>but it is included in group %1 which was marked for %2,
so it was marked for %3.
How do you wish to proceed?</source>
        <translation>aber es gehört zur Gruppe %1, die für „%2“ vorgemerkt wurde,
daher wurde es für „%3“ vorgemerkt.
Wie möchten Sie fortfahren?</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>SORVAN Group Conflict</source>
        <translation>SORVAN – Gruppenkonflikt</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Mark for %1</source>
        <translation>Für „%1“ vormerken</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Keep %1</source>
        <translation>„%1“ beibehalten</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Stop</source>
        <translation>Anhalten</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>Not applying: the conflict for package %1 was not resolved</source>
        <translation>Keine Anwendung: Der Konflikt für Paket %1 wurde nicht gelöst</translation>
    </message>
    <message>
        <location line="+9"/>
        <source>Manually resolving conflict: marking package %1 for %3</source>
        <translation>Konflikt manuell gelöst: Paket %1 wird für „%3“ vorgemerkt</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>For group %1, marking package %2 for %3</source>
        <translation>Für Gruppe %1 wird Paket %2 für „%3“ vorgemerkt</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>For group %1, package %2 already was marked for %3</source>
        <translation>Für Gruppe %1 war Paket %2 bereits für „%3“ vorgemerkt</translation>
    </message>
    <message>
        <location line="+8"/>
        <source>For group %1, not marking package %2 for %3, becuase %4</source>
        <translation>Für Gruppe %1 wird Paket %2 nicht für „%3“ vorgemerkt, weil %4</translation>
    </message>
    <message>
        <location line="+30"/>
        <source>Internal error: unexpected TSINFO: %1</source>
        <translation>Interner Fehler: Unerwartete TSINFO: %1</translation>
    </message>
    <message>
        <location line="+19"/>
        <source>Internal error: TSINFO mentions package %1 which does not appear to be a valid envra; interpreting as package name</source>
        <translation>Interner Fehler: TSINFO nennt das Paket %1, das kein gültiges ENVRA zu sein scheint; es wird als Paketname gedeutet</translation>
    </message>
    <message>
        <location line="+9"/>
        <source>Internal error: TSINFO mentions unknown package: %1</source>
        <translation>Interner Fehler: TSINFO nennt ein unbekanntes Paket: %1</translation>
    </message>
    <message>
        <location line="+9"/>
        <source>Internal error: TSINFO mentions intent to install or upgrade package that already seems up-to-date: %1</source>
        <translation>Interner Fehler: TSINFO will ein Paket installieren oder aktualisieren, das bereits aktuell zu sein scheint: %1</translation>
    </message>
    <message>
        <location line="+16"/>
        <source>Resolve Dependencies</source>
        <translation>Abhängigkeiten auflösen</translation>
    </message>
    <message>
        <location line="+91"/>
        <source>Internal error: txmbr lacks pkgtup
</source>
        <translation>Interner Fehler: txmbr fehlt pkgtup
</translation>
    </message>
    <message>
        <location line="+12"/>
        <source>Internal error: transaction lacks tsInfo
</source>
        <translation>Interner Fehler: Der Transaktion fehlt tsInfo
</translation>
    </message>
    <message>
        <location line="+8"/>
        <source>Internal error: yumIO.makelists() did not return a tuple
</source>
        <translation>Interner Fehler: yumIO.makelists() hat kein Tupel zurückgegeben
</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Internal error: yumIO.makelists() returned tuple of incorrect size
</source>
        <translation>Interner Fehler: yumIO.makelists() hat ein Tupel falscher Größe zurückgegeben
</translation>
    </message>
    <message>
        <location line="+14"/>
        <source>Internal error: tsInfo lacks %1
</source>
        <translation>Interner Fehler: tsInfo fehlt %1
</translation>
    </message>
    <message>
        <location line="+35"/>
        <source>Internal error: package has no relatedto
</source>
        <translation>Interner Fehler: Paket hat kein relatedto
</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Internal error: couldn&apos;t find obsoletedby package
</source>
        <translation>Interner Fehler: Das ersetzende Paket (obsoletedby) wurde nicht gefunden
</translation>
    </message>
    <message>
        <location line="+50"/>
        <source>Transaction to be performed:
</source>
        <translation>Auszuführende Transaktion:
</translation>
    </message>
    <message>
        <location line="+1"/>
        <location line="+7"/>
        <source>Install</source>
        <translation>Installieren</translation>
    </message>
    <message>
        <location line="-6"/>
        <location line="+7"/>
        <source>Update</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <location line="-6"/>
        <location line="+7"/>
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <location line="-3"/>
        <source>Performing the following to resolve dependencies:
</source>
        <translation>Zum Auflösen der Abhängigkeiten wird Folgendes ausgeführt:
</translation>
    </message>
    <message>
        <location line="+8"/>
        <source>Other Transactions:
</source>
        <translation>Weitere Transaktionen:
</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Obsoleting</source>
        <translation>Ersetzen</translation>
    </message>
    <message>
        <location line="+19"/>
        <source>Total download size: %1
</source>
        <translation>Gesamte Downloadgröße: %1
</translation>
    </message>
    <message>
        <location line="+15"/>
        <source>Query</source>
        <translation>Rückfrage</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Confirmation: Yes</source>
        <translation>Bestätigung: Ja</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Confirmation: No</source>
        <translation>Bestätigung: Nein</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Apply Actions</source>
        <translation>Aktionen anwenden</translation>
    </message>
    <message>
        <location line="+0"/>
        <location line="+29"/>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <location line="-29"/>
        <source>Apply</source>
        <translation>Anwenden</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Applying: OK</source>
        <translation>Anwenden: OK</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Not Applying: Canceled</source>
        <translation>Keine Anwendung: Abgebrochen</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>Running Transaction: Total Progress</source>
        <translation>Transaktion läuft: Gesamtfortschritt</translation>
    </message>
    <message>
        <location line="+15"/>
        <source>Package %1 of repository %2 is signed with a key that is not installed yet.

Import the key that the repository names, so that this and later packages of the repository can be checked?

User ID: %3
Key ID: 0x%4
From: %5</source>
        <translation>Paket %1 der Paketquelle %2 ist mit einem Schlüssel signiert, der noch nicht installiert ist.

Den von der Paketquelle genannten Schlüssel importieren, damit dieses und spätere Pakete der Paketquelle geprüft werden können?

Benutzerkennung: %3
Schlüsselkennung: 0x%4
Von: %5</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>SORVAN Import Signing Key</source>
        <translation>SORVAN – Signaturschlüssel importieren</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Import Key</source>
        <translation>Schlüssel importieren</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>Importing signing key 0x%1 of repository %2</source>
        <translation>Signaturschlüssel 0x%1 der Paketquelle %2 wird importiert</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Not importing signing key 0x%1 of repository %2</source>
        <translation>Signaturschlüssel 0x%1 der Paketquelle %2 wird nicht importiert</translation>
    </message>
    <message>
        <location line="+15"/>
        <source>Preparing to Test Transaction</source>
        <translation>Transaktionstest wird vorbereitet</translation>
    </message>
    <message>
        <location line="+41"/>
        <source>Transaction Test</source>
        <translation>Transaktionstest</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Preparing to Run Transaction</source>
        <translation>Transaktion wird vorbereitet</translation>
    </message>
    <message>
        <location line="+12"/>
        <source>Internal error: YumIO::tsCallback what=%1 not understood; ignoring</source>
        <translation>Interner Fehler: YumIO::tsCallback what=%1 nicht verstanden; wird ignoriert</translation>
    </message>
    <message>
        <location line="+11"/>
        <source>Updating %1</source>
        <translation>%1 wird aktualisiert</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>Removing %1</source>
        <translation>%1 wird entfernt</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>Installing %1</source>
        <translation>%1 wird installiert</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Completing update for: %1</source>
        <translation>Aktualisierung wird abgeschlossen für: %1</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Running scriptlet of %1</source>
        <translation>Scriptlet von %1 wird ausgeführt</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Running post-transaction scriptlets</source>
        <translation>Scriptlets nach der Transaktion werden ausgeführt</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Verifying %1</source>
        <translation>%1 wird überprüft</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Internal error: YumIO::tsEvent action=%1 not understood; ignoring</source>
        <translation>Interner Fehler: YumIO::tsEvent action=%1 nicht verstanden; wird ignoriert</translation>
    </message>
    <message>
        <location line="+25"/>
        <source>Updated</source>
        <translation>Aktualisiert</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Installed</source>
        <translation>Installiert</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Removed</source>
        <translation>Entfernt</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Obsoleted</source>
        <translation>Ersetzt</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Dependency Updated</source>
        <translation>Abhängigkeit aktualisiert</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Dependency Installed</source>
        <translation>Abhängigkeit installiert</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Dependency Removed</source>
        <translation>Abhängigkeit entfernt</translation>
    </message>
    <message>
        <location line="+32"/>
        <source>Unable to reap child processes: errno = %1 (%2)</source>
        <translation>Kindprozesse können nicht eingesammelt werden: errno = %1 (%2)</translation>
    </message>
    <message>
        <location filename="../yumio/YumIOC.cpp" line="+30"/>
        <location line="+5"/>
        <source>Internal error: collect grab size not understood</source>
        <translation>Interner Fehler: Größe des Abrufs beim Sammeln nicht verstanden</translation>
    </message>
    <message>
        <location line="+74"/>
        <source>Internal error: unexpected progress name</source>
        <translation>Interner Fehler: Unerwarteter Fortschrittsname</translation>
    </message>
    <message>
        <location line="+14"/>
        <source>Internal error: unexpected progress filename</source>
        <translation>Interner Fehler: Unerwarteter Dateiname im Fortschritt</translation>
    </message>
    <message>
        <location line="+20"/>
        <source>Internal error: unexpected progress text type</source>
        <translation>Interner Fehler: Unerwarteter Typ des Fortschrittstexts</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Internal error: unexpected progress name type</source>
        <translation>Interner Fehler: Unerwarteter Typ des Fortschrittsnamens</translation>
    </message>
    <message>
        <location line="+34"/>
        <source>Internal error: unexpected progress failure message</source>
        <translation>Interner Fehler: Unerwartete Fehlermeldung im Fortschritt</translation>
    </message>
    <message>
        <location filename="../yumio/YumIOClean.cpp" line="+36"/>
        <source>Cleaning Headers</source>
        <translation>Kopfdaten werden gelöscht</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Cleaning Packages</source>
        <translation>Pakete werden gelöscht</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Cleaning Xml Metadata</source>
        <translation>XML-Metadaten werden gelöscht</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Cleaning Pickled Cache</source>
        <translation>Pickle-Cache wird gelöscht</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Cleaning Sqlite Cache</source>
        <translation>SQLite-Cache wird gelöscht</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>Cleaning All</source>
        <translation>Alles wird gelöscht</translation>
    </message>
    <message>
        <location filename="../yumio/YumIOCollect.cpp" line="-66"/>
        <source>Unable to obtain yum lock</source>
        <translation>Die Yum-Sperre kann nicht erlangt werden</translation>
    </message>
    <message>
        <location line="+36"/>
        <source>Repository Unavailable</source>
        <translation>Paketquelle nicht erreichbar</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>The repository %1 cannot be read:
%2

Disable it for this session and read the other repositories?</source>
        <translation>Die Paketquelle %1 kann nicht gelesen werden:
%2

Sie für diese Sitzung deaktivieren und die übrigen Paketquellen lesen?</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>&amp;Disable for This Session</source>
        <translation>Für diese Sitzung &amp;deaktivieren</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>&amp;Cancel</source>
        <translation>&amp;Abbrechen</translation>
    </message>
    <message>
        <location line="+11"/>
        <source>Repository %1 is disabled for this session.</source>
        <translation>Die Paketquelle %1 ist für diese Sitzung deaktiviert.</translation>
    </message>
    <message>
        <location line="+11"/>
        <source>Initialization</source>
        <translation>Initialisierung</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Initializing: Total Progress</source>
        <translation>Initialisierung: Gesamtfortschritt</translation>
    </message>
    <message>
        <location line="+11"/>
        <source>Internal error: yumIO.repos.repos not evaluable</source>
        <translation>Interner Fehler: yumIO.repos.repos nicht auswertbar</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>Internal error: yumIO.repos.repos not a dictionary</source>
        <translation>Interner Fehler: yumIO.repos.repos ist kein Wörterbuch</translation>
    </message>
    <message>
        <location line="+12"/>
        <source>No repositories are configured.
Under the Repositories menu, Edit Configuration can be used to configure repositories.</source>
        <translation>Es sind keine Paketquellen konfiguriert.
Im Menü „Paketquellen“ lassen sich mit „Konfiguration bearbeiten“ Paketquellen einrichten.</translation>
    </message>
    <message>
        <location line="+6"/>
        <source>No repositories are enabled.
Under the Repositories menu, Edit Configuration can be used to configure repositories.</source>
        <translation>Es sind keine Paketquellen aktiviert.
Im Menü „Paketquellen“ lassen sich mit „Konfiguration bearbeiten“ Paketquellen einrichten.</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>Reading repositories</source>
        <translation>Paketquellen werden gelesen</translation>
    </message>
    <message>
        <location line="+12"/>
        <source>Collecting updatable packages</source>
        <translation>Aktualisierbare Pakete werden gesammelt</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>setup transaction</source>
        <translation>Einrichten der Transaktion</translation>
    </message>
    <message>
        <location line="+11"/>
        <source>collect updatable packages</source>
        <translation>Sammeln der aktualisierbaren Pakete</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Internal error: execution of yumIO.collectUpdates failed</source>
        <translation>Interner Fehler: Ausführung von yumIO.collectUpdates fehlgeschlagen</translation>
    </message>
    <message>
        <location line="+9"/>
        <source>Collecting installed and available packages</source>
        <translation>Installierte und verfügbare Pakete werden gesammelt</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>collect installed and available packages</source>
        <translation>Sammeln der installierten und verfügbaren Pakete</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>Internal error: execution of yumIO.collectAll failed</source>
        <translation>Interner Fehler: Ausführung von yumIO.collectAll fehlgeschlagen</translation>
    </message>
    <message>
        <location line="+10"/>
        <source>Collecting groups</source>
        <translation>Gruppen werden gesammelt</translation>
    </message>
    <message>
        <location line="+8"/>
        <source>Internal error: execution of yumIO.setupTsGroup failed</source>
        <translation>Interner Fehler: Ausführung von yumIO.setupTsGroup fehlgeschlagen</translation>
    </message>
    <message>
        <location line="+3"/>
        <source>collect groups</source>
        <translation>Sammeln der Gruppen</translation>
    </message>
    <message>
        <location line="+8"/>
        <source>Internal error: execution of yumIO.collectGroupInfo failed</source>
        <translation>Interner Fehler: Ausführung von yumIO.collectGroupInfo fehlgeschlagen</translation>
    </message>
    <message>
        <location line="+25"/>
        <source>unable to setup repository %1:
%2</source>
        <translation>Paketquelle %1 kann nicht eingerichtet werden:
%2</translation>
    </message>
    <message>
        <location line="+54"/>
        <source>Internal error: collected packages are not iterable</source>
        <translation>Interner Fehler: Die gesammelten Pakete sind nicht iterierbar</translation>
    </message>
    <message>
        <location line="+64"/>
        <source>Internal error: yumIO.collectAll.%1 not found</source>
        <translation>Interner Fehler: yumIO.collectAll.%1 nicht gefunden</translation>
    </message>
    <message>
        <location line="+76"/>
        <location line="+9"/>
        <source>Internal error: groupInfo.visible_groups not evaluable</source>
        <translation>Interner Fehler: groupInfo.visible_groups nicht auswertbar</translation>
    </message>
    <message>
        <location line="+20"/>
        <source>Internal error: group without name</source>
        <translation>Interner Fehler: Gruppe ohne Namen</translation>
    </message>
    <message>
        <location line="+32"/>
        <source>Internal error: cannot find group&apos;s installed flag</source>
        <translation>Interner Fehler: Die Installiert-Markierung der Gruppe wurde nicht gefunden</translation>
    </message>
    <message>
        <location line="+9"/>
        <source>Internal error: cannot find groupInfo.group_installed[&apos;%1&apos;]</source>
        <translation>Interner Fehler: groupInfo.group_installed[&apos;%1&apos;] nicht gefunden</translation>
    </message>
    <message>
        <location filename="../yumio/YumIODetails.cpp" line="+46"/>
        <source>getRpmHdrValue called for package with no hdr (i.e. not installed)</source>
        <translation>getRpmHdrValue für ein Paket ohne hdr (also nicht installiert) aufgerufen</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>Internal error: cannot find rpm.%1</source>
        <translation>Interner Fehler: rpm.%1 nicht gefunden</translation>
    </message>
    <message>
        <location line="+113"/>
        <source>Internal error: cannot find package&apos;s prco.%1</source>
        <translation>Interner Fehler: prco.%1 des Pakets nicht gefunden</translation>
    </message>
    <message>
        <location line="+189"/>
        <source>Internal error: cannot find package&apos;s files</source>
        <translation>Interner Fehler: Die Dateien des Pakets wurden nicht gefunden</translation>
    </message>
    <message>
        <location line="+50"/>
        <source>Internal error: cannot find package&apos;s changelog</source>
        <translation>Interner Fehler: Das Änderungsprotokoll des Pakets wurde nicht gefunden</translation>
    </message>
    <message>
        <location line="+137"/>
        <source>Loading file lists: Total Progress</source>
        <translation>Dateilisten werden geladen: Gesamtfortschritt</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Collecting File Lists</source>
        <translation>Dateilisten werden gesammelt</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>collect filelists</source>
        <translation>Sammeln der Dateilisten</translation>
    </message>
    <message>
        <location line="+7"/>
        <source>Loading miscellaneous data: Total Progress</source>
        <translation>Sonstige Daten werden geladen: Gesamtfortschritt</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Collecting Miscellaneous data</source>
        <translation>Sonstige Daten werden gesammelt</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>collect miscellaneous data</source>
        <translation>Sammeln der sonstigen Daten</translation>
    </message>
    <message>
        <location filename="../yumio/YumIOMeters.cpp" line="+42"/>
        <location line="+7"/>
        <source>contents</source>
        <translation>Inhalt</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>file lists</source>
        <translation>Dateilisten</translation>
    </message>
    <message>
        <location line="+5"/>
        <source>miscellaneous data</source>
        <translation>sonstige Daten</translation>
    </message>
    <message>
        <location line="+51"/>
        <source>Downloading repository mirror list for %2</source>
        <translation>Spiegelliste der Paketquelle für %2 wird heruntergeladen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Downloading repository mirror list</source>
        <translation>Spiegelliste der Paketquelle wird heruntergeladen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Downloading repository repomd for %2</source>
        <translation>repomd der Paketquelle für %2 wird heruntergeladen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Downloading repository repomd</source>
        <translation>repomd der Paketquelle wird heruntergeladen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Downloading repository groups for %2</source>
        <translation>Gruppen der Paketquelle für %2 werden heruntergeladen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Downloading repository groups</source>
        <translation>Gruppen der Paketquelle werden heruntergeladen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Downloading repository %1 for %2</source>
        <translation>Paketquelle (%1) für %2 wird heruntergeladen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Downloading repository %1</source>
        <translation>Paketquelle (%1) wird heruntergeladen</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Converting repository %2</source>
        <translation>Paketquelle %2 wird umgewandelt</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Converting repository</source>
        <translation>Paketquelle wird umgewandelt</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Reading repository %1 for %2</source>
        <translation>Paketquelle (%1) für %2 wird gelesen</translation>
    </message>
    <message>
        <location line="+1"/>
        <source>Reading repository %1</source>
        <translation>Paketquelle (%1) wird gelesen</translation>
    </message>
    <message>
        <location line="+15"/>
        <source>Internal error: invalid collect act
</source>
        <translation>Interner Fehler: Ungültiger Sammelschritt
</translation>
    </message>
    <message>
        <location line="+15"/>
        <source>Unknown</source>
        <translation>Unbekannt</translation>
    </message>
    <message>
        <location line="+4"/>
        <source>Internal error: Unexpected parallel grab with no parallel support:
%1</source>
        <translation>Interner Fehler: Unerwarteter paralleler Abruf ohne Unterstützung für Parallelität:
%1</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Internal error: Unexpected parallel grab type:
%1</source>
        <translation>Interner Fehler: Unerwarteter Typ eines parallelen Abrufs:
%1</translation>
    </message>
    <message>
        <location line="+2"/>
        <source>Downloading repository contents for %1 repositories</source>
        <translation>Inhalte von %1 Paketquellen werden heruntergeladen</translation>
    </message>
    <message>
        <location line="+23"/>
        <source>Internal error: Start: unexpected thread %1 &gt; total files %2
</source>
        <translation>Interner Fehler: Start: unerwarteter Thread %1 &gt; Gesamtzahl der Dateien %2
</translation>
    </message>
    <message>
        <location line="+53"/>
        <source>Internal error: Update: unexpected thread %1 &gt; total files %2
</source>
        <translation>Interner Fehler: Update: unerwarteter Thread %1 &gt; Gesamtzahl der Dateien %2
</translation>
    </message>
    <message>
        <location line="+13"/>
        <source>Internal error: End: unexpected thread %1 &gt; total files %2
</source>
        <translation>Interner Fehler: End: unerwarteter Thread %1 &gt; Gesamtzahl der Dateien %2
</translation>
    </message>
    <message>
        <location line="+16"/>
        <source>Internal error: Failure: unexpected thread %1 &gt; total files %2
</source>
        <translation>Interner Fehler: Failure: unerwarteter Thread %1 &gt; Gesamtzahl der Dateien %2
</translation>
    </message>
    <message>
        <location line="+117"/>
        <source>Finishing RPM rebuild from deltas</source>
        <translation>RPM-Neuaufbau aus Deltas wird abgeschlossen</translation>
    </message>
    <message>
        <location line="+12"/>
        <source>Downloading %1</source>
        <translation>%1 wird heruntergeladen</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Downloading %1 header</source>
        <translation>Kopfdaten von %1 werden heruntergeladen</translation>
    </message>
    <message>
        <location line="+48"/>
        <source>Downloading 1 package</source>
        <translation>1 Paket wird heruntergeladen</translation>
    </message>
    <message>
        <location line="+0"/>
        <source>Downloading %1 packages</source>
        <translation>%1 Pakete werden heruntergeladen</translation>
    </message>
</context>
<context>
    <name>YumIOCapturers</name>
    <message>
        <location filename="../yumio/YumIOCapturers.cpp" line="+43"/>
        <source>Unable to open pipe to capture rpm transaction output</source>
        <translation>Die Pipe zum Mitschneiden der Ausgabe der RPM-Transaktion kann nicht geöffnet werden</translation>
    </message>
    <message>
        <location line="+20"/>
        <source>Unable to dup2 pipe to capture rpm transaction output</source>
        <translation>dup2 der Pipe zum Mitschneiden der Ausgabe der RPM-Transaktion ist fehlgeschlagen</translation>
    </message>
    <message>
        <location line="+19"/>
        <source>Unable to dup2 to restore stderr</source>
        <translation>dup2 zum Wiederherstellen von stderr ist fehlgeschlagen</translation>
    </message>
</context>
</TS>
