<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en_US">
<context>
    <name>AboutThisApp</name>
    <message>
        <source>About Quillbox</source>
        <translation>Über Quillbox</translation>
    </message>
    <message>
        <source>Quillbox</source>
        <translation>Quillbox</translation>
    </message>
    <message>
        <source>Version:</source>
        <translation>Version:</translation>
    </message>
    <message>
        <source>Shows attached iPhones and iPads as volumes.</source>
        <translation>Zeigt angeschlossene iPhones und iPads als Volumes.</translation>
    </message>
    <message>
        <source>Free software under the GNU General Public License, version 3 or later. It comes without any warranty.</source>
        <translation>Freie Software unter der GNU General Public License, Version 3 oder später. Sie kommt ohne jede Gewährleistung.</translation>
    </message>
    <message>
        <source>&amp;Close</source>
        <translation>&amp;Schließen</translation>
    </message>
</context>
<context>
    <name>AboutThisDevice</name>
    <message>
        <source>Device information</source>
        <translation>Geräteinformationen</translation>
    </message>
    <message>
        <source>Picture of the device</source>
        <translation>Bild des Geräts</translation>
    </message>
    <message>
        <source>Name of the device</source>
        <translation>Name des Geräts</translation>
    </message>
    <message>
        <source>Capacity of the device</source>
        <translation>Kapazität des Geräts</translation>
    </message>
    <message>
        <source>This device</source>
        <translation>Dieses Gerät</translation>
    </message>
    <message>
        <source>Space in use on this device</source>
        <translation>Belegter Platz auf diesem Gerät</translation>
    </message>
    <message>
        <source>Used on this device</source>
        <translation>Belegt auf diesem Gerät</translation>
    </message>
    <message>
        <source>used</source>
        <translation>belegt</translation>
    </message>
    <message>
        <source>Free on this device</source>
        <translation>Frei auf diesem Gerät</translation>
    </message>
    <message>
        <source>free</source>
        <translation>frei</translation>
    </message>
    <message>
        <source>This computer</source>
        <translation>Dieser Rechner</translation>
    </message>
    <message>
        <source>Space in use on this computer</source>
        <translation>Belegter Platz auf diesem Rechner</translation>
    </message>
    <message>
        <source>Used on this computer</source>
        <translation>Belegt auf diesem Rechner</translation>
    </message>
    <message>
        <source>Free on this computer</source>
        <translation>Frei auf diesem Rechner</translation>
    </message>
    <message>
        <source>Soft&amp;ware version</source>
        <translation>Soft&amp;wareversion</translation>
    </message>
    <message>
        <source>Serial &amp;number</source>
        <translation>Serien&amp;nummer</translation>
    </message>
    <message>
        <source>&amp;Firmware version</source>
        <translation>&amp;Firmwareversion</translation>
    </message>
    <message>
        <source>Mo&amp;del number</source>
        <translation>Mo&amp;dellnummer</translation>
    </message>
    <message>
        <source>&amp;Phone number</source>
        <translation>&amp;Telefonnummer</translation>
    </message>
    <message>
        <source>&amp;Identifier</source>
        <translation>&amp;Kennung</translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation>Ko&amp;pieren</translation>
    </message>
    <message>
        <source>Copy the values of this window</source>
        <translation>Kopiert die Werte dieses Fensters</translation>
    </message>
    <message>
        <source>&amp;More info…</source>
        <translation>&amp;Mehr Angaben…</translation>
    </message>
    <message>
        <source>C&amp;lose</source>
        <translation>Sch&amp;ließen</translation>
    </message>
</context>
<context>
    <name>Core</name>
    <message>
        <source>About Quillbox</source>
        <translation>Über Quillbox</translation>
    </message>
    <message>
        <source>Preferences…</source>
        <translation>Einstellungen…</translation>
    </message>
    <message>
        <source>No iPhones Connected...</source>
        <translation>Keine iPhones angeschlossen …</translation>
    </message>
    <message>
        <source>Welcome…</source>
        <translation>Willkommen…</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>Hilfe</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>Reveal In Finder</source>
        <translation>Im Dateimanager zeigen</translation>
    </message>
    <message>
        <source>Change Connection Root</source>
        <translation>Verbindungswurzel wechseln</translation>
    </message>
    <message>
        <source>Mount Device</source>
        <translation>Gerät einhängen</translation>
    </message>
    <message>
        <source>Unmount Device</source>
        <translation>Gerät aushängen</translation>
    </message>
    <message>
        <source>Unmount Device (still writing)</source>
        <translation>Gerät aushängen (wird noch beschrieben)</translation>
    </message>
    <message>
        <source>Device Info</source>
        <translation>Geräteinformationen</translation>
    </message>
    <message>
        <source>Current Connection Root:</source>
        <translation>Aktuelle Verbindungswurzel:</translation>
    </message>
    <message>
        <source>Root</source>
        <translation>Wurzel</translation>
    </message>
    <message>
        <source>Media</source>
        <translation>Medien</translation>
    </message>
    <message>
        <source>Hide &amp; Continue</source>
        <translation>Ausblenden &amp; fortfahren</translation>
    </message>
    <message>
        <source>Not available</source>
        <translation>Nicht verfügbar</translation>
    </message>
    <message>
        <source>N/A</source>
        <translation>k. A.</translation>
    </message>
    <message>
        <source>Mount Failed</source>
        <translation>Einhängen fehlgeschlagen</translation>
    </message>
    <message>
        <source>Mount disk mode was changed.</source>
        <translation>Wer die Volumes benutzen darf, wurde geändert.</translation>
    </message>
    <message>
        <source>This need re-mount disk to take effect!</source>
        <translation>Das wirkt, sobald ein Volume neu eingehängt wird.</translation>
    </message>
    <message>
        <source>Quillbox ended unexpectedly.</source>
        <translation>Quillbox wurde unerwartet beendet.</translation>
    </message>
    <message>
        <source>Nothing here can open it.</source>
        <translation>Hier kann nichts das öffnen.</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Show</source>
        <translation>Zeigen</translation>
    </message>
    <message>
        <source>it does not trust this computer yet: unlock the device and tap Trust</source>
        <translation>es vertraut diesem Rechner noch nicht: Gerät entsperren und „Vertrauen“ antippen</translation>
    </message>
    <message>
        <source>it is locked: unlock the device</source>
        <translation>es ist gesperrt: Gerät entsperren</translation>
    </message>
    <message>
        <source>trust was refused on the device: unplug, plug in again and tap Trust</source>
        <translation>auf dem Gerät wurde das Vertrauen abgelehnt: abziehen, neu anschließen und „Vertrauen“ antippen</translation>
    </message>
    <message>
        <source>trust was reset: unplug, plug in and tap Trust</source>
        <translation>das Vertrauen wurde zurückgesetzt: abziehen, anschließen und „Vertrauen“ antippen</translation>
    </message>
    <message>
        <source>it is locked since its start: unlock the device once after its restart</source>
        <translation>es ist seit seinem Start gesperrt: das Gerät nach dem Neustart einmal entsperren</translation>
    </message>
    <message>
        <source>it is attached and does not answer: it is tried again</source>
        <translation>es ist angeschlossen und antwortet nicht: es wird erneut versucht</translation>
    </message>
    <message>
        <source>it refused to be paired: unplug, plug in again and tap Trust</source>
        <translation>es hat die Kopplung abgelehnt: abziehen, neu anschließen und „Vertrauen“ antippen</translation>
    </message>
    <message>
        <source>Device</source>
        <translation>Gerät</translation>
    </message>
    <message>
        <source>the device</source>
        <translation>das Gerät</translation>
    </message>
    <message>
        <source>data is still being written</source>
        <translation>es werden noch Daten geschrieben</translation>
    </message>
    <message>
        <source>another change of the same device</source>
        <translation>auf eine andere Änderung desselben Geräts</translation>
    </message>
    <message>
        <source>Version:%1</source>
        <translation>Version: %1</translation>
    </message>
    <message>
        <source>The volume could not be mounted at %1: %2.</source>
        <translation>Das Volume konnte unter %1 nicht eingehängt werden: %2.</translation>
    </message>
    <message>
        <source>A report about it was kept on this computer, in %1.</source>
        <translation>Ein Bericht darüber liegt auf diesem Rechner in %1.</translation>
    </message>
    <message>
        <source>waiting for %1</source>
        <translation>auf %1</translation>
    </message>
    <message>
        <source>%1 (serial number %2)</source>
        <translation>%1 (Seriennummer %2)</translation>
    </message>
    <message>
        <source>%1 (identifier %2)</source>
        <translation>%1 (Kennung %2)</translation>
    </message>
    <message>
        <source>the root %1 could not be opened: choose a connection root again</source>
        <translation>die Wurzel %1 ließ sich nicht öffnen: bitte neu wählen</translation>
    </message>
</context>
<context>
    <name>MoreInfo</name>
    <message>
        <source>More info</source>
        <translation>Mehr Angaben</translation>
    </message>
    <message>
        <source>&amp;Filter:</source>
        <translation>&amp;Filter:</translation>
    </message>
    <message>
        <source>Values of the device</source>
        <translation>Werte des Geräts</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Value</source>
        <translation>Wert</translation>
    </message>
    <message>
        <source>Activation state</source>
        <translation>Aktivierungszustand</translation>
    </message>
    <message>
        <source>Activation acknowledged</source>
        <translation>Aktivierung bestätigt</translation>
    </message>
    <message>
        <source>Baseband boot loader version</source>
        <translation>Version des Baseband-Bootloaders</translation>
    </message>
    <message>
        <source>Baseband version</source>
        <translation>Basebandversion</translation>
    </message>
    <message>
        <source>Bluetooth address</source>
        <translation>Bluetooth-Adresse</translation>
    </message>
    <message>
        <source>Product type</source>
        <translation>Produkttyp</translation>
    </message>
    <message>
        <source>Build version</source>
        <translation>Buildversion</translation>
    </message>
    <message>
        <source>Device certificate</source>
        <translation>Gerätezertifikat</translation>
    </message>
    <message>
        <source>Device class</source>
        <translation>Geräteklasse</translation>
    </message>
    <message>
        <source>Device public key</source>
        <translation>Öffentlicher Schlüssel des Geräts</translation>
    </message>
    <message>
        <source>Host attached</source>
        <translation>Rechner angeschlossen</translation>
    </message>
    <message>
        <source>SIM card number (ICCID)</source>
        <translation>Nummer der SIM-Karte (ICCID)</translation>
    </message>
    <message>
        <source>Equipment identity (IMEI)</source>
        <translation>Gerätekennung (IMEI)</translation>
    </message>
    <message>
        <source>Subscriber identity (IMSI)</source>
        <translation>Teilnehmerkennung (IMSI)</translation>
    </message>
    <message>
        <source>Protocol version</source>
        <translation>Protokollversion</translation>
    </message>
    <message>
        <source>Region</source>
        <translation>Region</translation>
    </message>
    <message>
        <source>Ever registered</source>
        <translation>Jemals registriert</translation>
    </message>
    <message>
        <source>SIM status</source>
        <translation>SIM-Zustand</translation>
    </message>
    <message>
        <source>Time zone was set</source>
        <translation>Zeitzone wurde eingestellt</translation>
    </message>
    <message>
        <source>Time (seconds since 1970)</source>
        <translation>Zeit (Sekunden seit 1970)</translation>
    </message>
    <message>
        <source>Time zone</source>
        <translation>Zeitzone</translation>
    </message>
    <message>
        <source>Offset from UTC (seconds)</source>
        <translation>Abstand zu UTC (Sekunden)</translation>
    </message>
    <message>
        <source>Trusted host attached</source>
        <translation>Vertrauter Rechner angeschlossen</translation>
    </message>
    <message>
        <source>24-hour clock</source>
        <translation>24-Stunden-Uhr</translation>
    </message>
    <message>
        <source>Wi-Fi address</source>
        <translation>WLAN-Adresse</translation>
    </message>
    <message>
        <source>Has connected to a computer</source>
        <translation>War mit einem Rechner verbunden</translation>
    </message>
    <message>
        <source>Copy &amp;all</source>
        <translation>&amp;Alles kopieren</translation>
    </message>
    <message>
        <source>C&amp;lose</source>
        <translation>Sch&amp;ließen</translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation>&amp;Kopieren</translation>
    </message>
</context>
<context>
    <name>Notices</name>
    <message>
        <source>Waiting: %1</source>
        <translation>Warten: %1</translation>
    </message>
</context>
<context>
    <name>Preferences</name>
    <message>
        <source>Quillbox preferences</source>
        <translation>Quillbox-Einstellungen</translation>
    </message>
    <message>
        <source>General</source>
        <translation>Allgemein</translation>
    </message>
    <message>
        <source>&amp;Open Quillbox at login</source>
        <translation>Quillbox beim Anmel&amp;den öffnen</translation>
    </message>
    <message>
        <source>Volumes are shown &amp;in:</source>
        <translation>Volumes liegen &amp;in:</translation>
    </message>
    <message>
        <source>O&amp;pen</source>
        <translation>Ö&amp;ffnen</translation>
    </message>
    <message>
        <source>Open the folder of the volumes</source>
        <translation>Öffnet den Ordner der Volumes</translation>
    </message>
    <message>
        <source>Devices</source>
        <translation>Geräte</translation>
    </message>
    <message>
        <source>Offer the whole &amp;file system where a device allows it</source>
        <translation>Das &amp;ganze Dateisystem anbieten, wo ein Gerät es erlaubt</translation>
    </message>
    <message>
        <source>Come &amp;back to the last connection root</source>
        <translation>Zur &amp;letzten Verbindungswurzel zurückkehren</translation>
    </message>
    <message>
        <source>Volumes</source>
        <translation>Volumes</translation>
    </message>
    <message>
        <source>&amp;Name every volume:</source>
        <translation>Alle Volumes be&amp;nennen:</translation>
    </message>
    <message>
        <source>Name of every volume</source>
        <translation>Name aller Volumes</translation>
    </message>
    <message>
        <source>&amp;Show an application&apos;s picture as the volume&apos;s icon</source>
        <translation>Das Bild einer App als &amp;Symbol des Volumes zeigen</translation>
    </message>
    <message>
        <source>&amp;Who may use a volume:</source>
        <translation>&amp;Wer ein Volume benutzen darf:</translation>
    </message>
    <message>
        <source>&amp;Everyone</source>
        <translation>&amp;Alle</translation>
    </message>
    <message>
        <source>Who may use a volume</source>
        <translation>Wer ein Volume benutzen darf</translation>
    </message>
    <message>
        <source>Only &amp;me</source>
        <translation>Nur i&amp;ch</translation>
    </message>
    <message>
        <source>Applies when a volume is mounted again.</source>
        <translation>Gilt, sobald ein Volume neu eingehängt wird.</translation>
    </message>
    <message>
        <source>Applications</source>
        <translation>Apps</translation>
    </message>
    <message>
        <source>&amp;List only applications that share files</source>
        <translation>N&amp;ur Apps auflisten, die Dateien freigeben</translation>
    </message>
    <message>
        <source>Load &amp;all pictures when a device arrives (slow)</source>
        <translation>Alle &amp;Bilder laden, wenn ein Gerät ankommt (langsam)</translation>
    </message>
    <message>
        <source>Open an applica&amp;tion&apos;s:</source>
        <translation>Von einer A&amp;pp öffnen:</translation>
    </message>
    <message>
        <source>Whole area</source>
        <translation>Ganzer Bereich</translation>
    </message>
    <message>
        <source>Documents only</source>
        <translation>Nur Dokumente</translation>
    </message>
    <message>
        <source>Camera roll</source>
        <translation>Aufnahmen</translation>
    </message>
    <message>
        <source>&amp;Give copied pictures the device&apos;s own names</source>
        <translation>&amp;Kopierten Bildern die Namen des Geräts geben</translation>
    </message>
    <message>
        <source>JPEG and PNG, up to 99 a folder, only where the device keeps a record of its folders. Cannot be combined with the whole file system.</source>
        <translation>JPEG und PNG, bis zu 99 je Ordner, nur wo das Gerät über seine Ordner Buch führt. Nicht zusammen mit dem ganzen Dateisystem.</translation>
    </message>
    <message>
        <source>&amp;Reset settings</source>
        <translation>Einstellungen &amp;zurücksetzen</translation>
    </message>
</context>
<context>
    <name>Welcome</name>
    <message>
        <source>Welcome to Quillbox</source>
        <translation>Willkommen bei Quillbox</translation>
    </message>
    <message>
        <source>Quillbox</source>
        <translation>Quillbox</translation>
    </message>
    <message>
        <source>Plug in an iPhone or an iPad with its cable. The first time, unlock it and tap Trust on its screen. It then appears as a volume: click it in the menu of the status icon, or open it in the file manager.</source>
        <translation>Schließen Sie ein iPhone oder iPad mit seinem Kabel an. Entsperren Sie es beim ersten Mal und tippen Sie auf seinem Bildschirm auf „Vertrauen“. Dann erscheint es als Volume: Wählen Sie es im Menü des Statussymbols oder öffnen Sie es im Dateimanager.</translation>
    </message>
    <message>
        <source>&amp;Preferences…</source>
        <translation>&amp;Einstellungen…</translation>
    </message>
    <message>
        <source>Reveal &amp;volumes</source>
        <translation>&amp;Volumes zeigen</translation>
    </message>
    <message>
        <source>&amp;Reset all settings</source>
        <translation>Alle Einstellungen &amp;zurücksetzen</translation>
    </message>
    <message>
        <source>&amp;Show this window at start</source>
        <translation>Dieses &amp;Fenster beim Start zeigen</translation>
    </message>
    <message>
        <source>Hide &amp;&amp; Continue</source>
        <translation>Ausblenden &amp;&amp; fortfahren</translation>
    </message>
</context>
</TS>
