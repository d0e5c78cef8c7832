<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>AboutDialog</name>
    <message>
        <source>About Lichtwart</source>
        <translation type="vanished">Über Lichtwart</translation>
    </message>
    <message>
        <source>Lichtwart</source>
        <translation type="vanished">Lichtwart</translation>
    </message>
    <message>
        <source>Version</source>
        <translation type="vanished">Version</translation>
    </message>
    <message>
        <source>© Varnholt GmbH</source>
        <translation type="vanished">© Varnholt GmbH</translation>
    </message>
    <message>
        <source>Ok</source>
        <translation type="vanished">OK</translation>
    </message>
</context>
<context>
    <name>CStartup</name>
    <message>
        <source>Allow firmware upgrade from raw HEX files</source>
        <translation type="vanished">Firmware-Aktualisierung aus Hex-Rohdateien erlauben</translation>
    </message>
</context>
<context>
    <name>FWUpgradeDialog</name>
    <message>
        <source>Firmware upgrade</source>
        <translation type="vanished">Firmware-Aktualisierung</translation>
    </message>
    <message>
        <source>Firmware file</source>
        <translation type="vanished">Firmware-Datei</translation>
    </message>
    <message>
        <source>Version:</source>
        <translation type="vanished">Version:</translation>
    </message>
    <message>
        <source>unknown</source>
        <translation type="vanished">unbekannt</translation>
    </message>
    <message>
        <source>Date:</source>
        <translation type="vanished">Datum:</translation>
    </message>
    <message>
        <source>Fingerprint:</source>
        <translation type="vanished">Fingerabdruck:</translation>
    </message>
    <message>
        <source>Load..</source>
        <translation type="vanished">Laden...</translation>
    </message>
    <message>
        <source>Connected device</source>
        <translation type="vanished">Verbundenes Gerät</translation>
    </message>
    <message>
        <source>Software version:</source>
        <translation type="vanished">Softwareversion:</translation>
    </message>
    <message>
        <source>Hardware version:</source>
        <translation type="vanished">Hardwareversion:</translation>
    </message>
    <message>
        <source>Program</source>
        <translation type="vanished">Programmieren</translation>
    </message>
    <message>
        <source>Retry</source>
        <translation type="vanished">Wiederholen</translation>
    </message>
    <message>
        <source>Close</source>
        <translation type="vanished">Schließen</translation>
    </message>
    <message>
        <source>&lt;font color=&apos;#009933&apos;&gt;Connected to target device&lt;/font&gt;</source>
        <translation type="vanished">&lt;font color=&apos;#009933&apos;&gt;Mit Zielgerät verbunden&lt;/font&gt;</translation>
    </message>
    <message>
        <source>Switching device to programming mode ...</source>
        <translation type="vanished">Gerät wird in den Programmiermodus umgeschaltet ...</translation>
    </message>
    <message>
        <source>Enabling firmware flasher of target device ...</source>
        <translation type="vanished">Bootloader des Zielgeräts wird aktiviert ...</translation>
    </message>
    <message>
        <source>Erasing flash, do &lt;b&gt;not&lt;/b&gt; disconnect ...</source>
        <translation type="vanished">Flash-Speicher wird gelöscht, Verbindung &lt;b&gt;nicht&lt;/b&gt; trennen ...</translation>
    </message>
    <message>
        <source>Uploading firmware, do &lt;b&gt;not&lt;/b&gt; disconnect ...</source>
        <translation type="vanished">Firmware wird übertragen, Verbindung &lt;b&gt;nicht&lt;/b&gt; trennen ...</translation>
    </message>
    <message>
        <source>&lt;font color=&apos;#009933&apos;&gt;Upgrade successful, resetting device ...&lt;/font&gt;</source>
        <translation type="vanished">&lt;font color=&apos;#009933&apos;&gt;Aktualisierung erfolgreich, Gerät wird neu gestartet ...&lt;/font&gt;</translation>
    </message>
    <message>
        <source>&lt;font color=&apos;#009933&apos;&gt;All done, please close this window now&lt;/font&gt;</source>
        <translation type="vanished">&lt;font color=&apos;#009933&apos;&gt;Fertig, bitte dieses Fenster jetzt schließen&lt;/font&gt;</translation>
    </message>
    <message>
        <source>&lt;font color=&apos;red&apos;&gt;No valid answer from firmware flasher!&lt;/font&gt;</source>
        <translation type="vanished">&lt;font color=&apos;red&apos;&gt;Keine gültige Antwort vom Bootloader!&lt;/font&gt;</translation>
    </message>
    <message>
        <source>&lt;font color=&apos;red&apos;&gt;Failed to erase flash!&lt;/font&gt;</source>
        <translation type="vanished">&lt;font color=&apos;red&apos;&gt;Löschen des Flash-Speichers fehlgeschlagen!&lt;/font&gt;</translation>
    </message>
    <message>
        <source>&lt;font color=&apos;red&apos;&gt;Failed to write data block to flash!&lt;/font&gt;</source>
        <translation type="vanished">&lt;font color=&apos;red&apos;&gt;Schreiben eines Datenblocks in den Flash-Speicher fehlgeschlagen!&lt;/font&gt;</translation>
    </message>
    <message>
        <source>&lt;font color=&apos;red&apos;&gt;Failed to switch device to programming mode!&lt;/font&gt;</source>
        <translation type="vanished">&lt;font color=&apos;red&apos;&gt;Umschalten des Geräts in den Programmiermodus fehlgeschlagen!&lt;/font&gt;</translation>
    </message>
    <message>
        <source>Trying to reconnect ...</source>
        <translation type="vanished">Erneuter Verbindungsversuch ...</translation>
    </message>
    <message>
        <source>The baudrate to upload the firmware is higher then the operating baudrate of the device.
For on-site programming it is highly advised to use an upload baudrate that is lower or equal to the operating baudrate of the device.</source>
        <translation type="vanished">Die Baudrate für die Firmware-Übertragung ist höher als die Betriebsbaudrate des Geräts.
Für die Programmierung vor Ort wird dringend empfohlen, eine Übertragungsbaudrate zu verwenden, die kleiner oder gleich der Betriebsbaudrate des Geräts ist.</translation>
    </message>
    <message>
        <source>The firmware you loaded from the file isn&apos;t&apos; more recent then the one running on the device connected.
Downgrading a device is supported but not advised.</source>
        <translation type="vanished">Die aus der Datei geladene Firmware ist nicht neuer als die Firmware, die auf dem verbundenen Gerät läuft.
Ein Downgrade des Geräts ist möglich, wird aber nicht empfohlen.</translation>
    </message>
    <message>
        <source>Make sure the device is connected properly and powerd by a failsafe supply. Do not disconnect or power off the device during programming! Any interruption of the programming sequence will leave the device in defective state.

Do you really want to continue ?</source>
        <translation type="vanished">Stellen Sie sicher, dass das Gerät richtig angeschlossen ist und von einer ausfallsicheren Stromversorgung gespeist wird. Trennen Sie das Gerät während der Programmierung nicht und schalten Sie es nicht aus! Jede Unterbrechung des Programmiervorgangs hinterlässt das Gerät in einem defekten Zustand.

Wirklich fortfahren?</translation>
    </message>
    <message>
        <source>Product detection error</source>
        <translation type="vanished">Fehler bei der Produkterkennung</translation>
    </message>
    <message>
        <source>The connected device couldn&apos;t be determined.</source>
        <translation type="vanished">Das verbundene Gerät konnte nicht bestimmt werden.</translation>
    </message>
    <message>
        <source>Please restart the application and try again.</source>
        <translation type="vanished">Bitte starten Sie das Programm neu und versuchen Sie es erneut.</translation>
    </message>
    <message>
        <source>Open Firmware Upgrade Package</source>
        <translation type="vanished">Firmware-Paket öffnen</translation>
    </message>
    <message>
        <source>Error loading firmware</source>
        <translation type="vanished">Fehler beim Laden der Firmware</translation>
    </message>
    <message>
        <source>The following error occured while loading the firmware package:</source>
        <translation type="vanished">Beim Laden des Firmware-Pakets ist folgender Fehler aufgetreten:</translation>
    </message>
    <message>
        <source>Raw hex file (*.hex *.mhx)</source>
        <translation type="vanished">Hex-Rohdatei (*.hex *.mhx)</translation>
    </message>
    <message>
        <source>Firmware upgrade package (*.fwp)</source>
        <translation type="vanished">Firmware-Paket (*.fwp)</translation>
    </message>
    <message>
        <source>Any (*.*)</source>
        <translation type="vanished">Alle Dateien (*.*)</translation>
    </message>
</context>
<context>
    <name>FlasherSyncDialog</name>
    <message>
        <source>Flasher Synchronization</source>
        <translation type="vanished">Blinkgeber-Synchronisation</translation>
    </message>
    <message>
        <source>To start a new flasher synchronization cycle use one of the buttons below.</source>
        <translation type="vanished">Einen neuen Synchronisationszyklus der Blinkgeber mit einer der folgenden Schaltflächen starten.</translation>
    </message>
    <message>
        <source>Soft Sync</source>
        <translation type="vanished">Soft-Sync</translation>
    </message>
    <message>
        <source>Hard Sync</source>
        <translation type="vanished">Hard-Sync</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="vanished">Abbrechen</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Lichtwart - Varnholt GmbH</source>
        <translation type="vanished">Lichtwart - Varnholt GmbH</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation type="vanished">&amp;Datei</translation>
    </message>
    <message>
        <source>View</source>
        <translation type="vanished">&amp;Ansicht</translation>
    </message>
    <message>
        <source>Tools</source>
        <translation type="vanished">&amp;Extras</translation>
    </message>
    <message>
        <source>Help</source>
        <translation type="vanished">&amp;Hilfe</translation>
    </message>
    <message>
        <source>E&amp;xit</source>
        <translation type="vanished">&amp;Beenden</translation>
    </message>
    <message>
        <source>Exit</source>
        <translation type="vanished">Beenden</translation>
    </message>
    <message>
        <source>Alt+X</source>
        <translation type="vanished">Alt+X</translation>
    </message>
    <message>
        <source>Options..</source>
        <translation type="vanished">Optionen...</translation>
    </message>
    <message>
        <source>About..</source>
        <translation type="vanished">Über Lichtwart...</translation>
    </message>
    <message>
        <source>Connect</source>
        <translation type="vanished">Verbinden</translation>
    </message>
    <message>
        <source>Clear Log</source>
        <translation type="vanished">Trace leeren</translation>
    </message>
    <message>
        <source>Disconnect</source>
        <translation type="vanished">Trennen</translation>
    </message>
    <message>
        <source>Strelo Remote Control</source>
        <translation type="vanished">Strelo-Fernsteuerung</translation>
    </message>
    <message>
        <source>Flasher Synchronization..</source>
        <translation type="vanished">Blinkgeber-Synchronisation...</translation>
    </message>
    <message>
        <source>Synchronize Flashers</source>
        <translation type="vanished">Blinkgeber synchronisieren</translation>
    </message>
    <message>
        <source>Set &amp;OSI 2 Address..</source>
        <translation type="vanished">&amp;OSI-2-Adresse setzen...</translation>
    </message>
    <message>
        <source>Change the OSI 2 Address of the connected Strelo</source>
        <translation type="vanished">OSI-2-Adresse des verbundenen Strelo ändern</translation>
    </message>
    <message>
        <source>Upgrade Firmware..</source>
        <translation type="vanished">Firmware aktualisieren...</translation>
    </message>
    <message>
        <source>Direction</source>
        <translation type="vanished">Richtung</translation>
    </message>
    <message>
        <source>Timestamp</source>
        <translation type="vanished">Zeitstempel</translation>
    </message>
    <message>
        <source>Length</source>
        <translation type="vanished">Länge</translation>
    </message>
    <message>
        <source>Func. Group</source>
        <translation type="vanished">Funktionsgruppe</translation>
    </message>
    <message>
        <source>Application ID</source>
        <translation type="vanished">Anwendungs-ID</translation>
    </message>
    <message>
        <source>Jobnumber</source>
        <translation type="vanished">Jobnummer</translation>
    </message>
    <message>
        <source>Blockcount</source>
        <translation type="vanished">Blockanzahl</translation>
    </message>
    <message>
        <source>Data</source>
        <translation type="vanished">Daten</translation>
    </message>
    <message>
        <source>Frametype</source>
        <translation type="vanished">Telegrammtyp</translation>
    </message>
    <message>
        <source>OSI3 Adr. ID</source>
        <translation type="vanished">OSI3-Adr.-ID</translation>
    </message>
    <message>
        <source>PRM</source>
        <translation type="vanished">PRM</translation>
    </message>
    <message>
        <source>FCB</source>
        <translation type="vanished">FCB</translation>
    </message>
    <message>
        <source>FCV</source>
        <translation type="vanished">FCV</translation>
    </message>
    <message>
        <source>ACD</source>
        <translation type="vanished">ACD</translation>
    </message>
    <message>
        <source>DFC</source>
        <translation type="vanished">DFC</translation>
    </message>
    <message>
        <source>Function</source>
        <translation type="vanished">Funktion</translation>
    </message>
    <message>
        <source>Address</source>
        <translation type="vanished">Adresse</translation>
    </message>
    <message>
        <source>Checksum</source>
        <translation type="vanished">Prüfsumme</translation>
    </message>
    <message>
        <source>Version %1</source>
        <translation type="vanished">Version %1</translation>
    </message>
    <message>
        <source>Device open failed</source>
        <translation type="vanished">Gerät konnte nicht geöffnet werden</translation>
    </message>
    <message>
        <source>The device %1 could not be opened.</source>
        <translation type="vanished">Das Gerät %1 konnte nicht geöffnet werden.</translation>
    </message>
</context>
<context>
    <name>OptionsDialog</name>
    <message>
        <source>Options</source>
        <translation type="vanished">Optionen</translation>
    </message>
    <message>
        <source>Interface</source>
        <translation type="vanished">Schnittstelle</translation>
    </message>
    <message>
        <source>&amp;Device name</source>
        <translation type="vanished">&amp;Gerätename</translation>
    </message>
    <message>
        <source>&amp;Baudrate</source>
        <translation type="vanished">&amp;Baudrate</translation>
    </message>
    <message>
        <source>Trace</source>
        <translation type="vanished">Trace</translation>
    </message>
    <message>
        <source>Trace level</source>
        <translation type="vanished">Trace-Ebene</translation>
    </message>
    <message>
        <source>TLS OSI 7</source>
        <translation type="vanished">TLS OSI 7</translation>
    </message>
    <message>
        <source>TLS OSI 2</source>
        <translation type="vanished">TLS OSI 2</translation>
    </message>
    <message>
        <source>IEC 870 (raw serial)</source>
        <translation type="vanished">IEC 870 (serielle Rohdaten)</translation>
    </message>
    <message>
        <source>Lines in visible trace</source>
        <translation type="vanished">Zeilen im sichtbaren Trace</translation>
    </message>
    <message>
        <source>Target</source>
        <translation type="vanished">Zielgerät</translation>
    </message>
    <message>
        <source>OSI 2 Address</source>
        <translation type="vanished">OSI-2-Adresse</translation>
    </message>
    <message>
        <source>OSI 7 (DE) Address</source>
        <translation type="vanished">OSI-7-Adresse (DE)</translation>
    </message>
    <message>
        <source>&lt;html&gt;&lt;head/&gt;&lt;body&gt;&lt;p&gt;If enabled, the target&apos;s functional group 254 will receive receive a configuration frame (TLS 33) to assign the physical channel to the OSI7 (DE) address.&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation type="vanished">&lt;html&gt;&lt;head/&gt;&lt;body&gt;&lt;p&gt;Wenn aktiviert, erhält die Funktionsgruppe 254 des Zielgeräts ein Konfigurationstelegramm (TLS 33), das den physikalischen Kanal der OSI7-Adresse (DE) zuweist.&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</translation>
    </message>
    <message>
        <source>Assign address on link up</source>
        <translation type="vanished">Adresse beim Verbindungsaufbau zuweisen</translation>
    </message>
    <message>
        <source>Flasher Configuration</source>
        <translation type="vanished">Blinkgeber-Konfiguration</translation>
    </message>
    <message>
        <source>Cycle Period</source>
        <translation type="vanished">Taktperiode</translation>
    </message>
    <message>
        <source>ms</source>
        <translation type="vanished">ms</translation>
    </message>
    <message>
        <source>Synchronization</source>
        <translation type="vanished">Synchronisation</translation>
    </message>
    <message>
        <source>Soft Cycles</source>
        <translation type="vanished">Soft-Sync-Zyklen</translation>
    </message>
    <message>
        <source>Use OSI2 broadcast address</source>
        <translation type="vanished">OSI2-Broadcast-Adresse verwenden</translation>
    </message>
    <message>
        <source>Use OSI7 broadcast address</source>
        <translation type="vanished">OSI7-Broadcast-Adresse verwenden</translation>
    </message>
    <message>
        <source>Behaviour</source>
        <translation type="vanished">Verhalten</translation>
    </message>
    <message>
        <source>If enabled, any further received actual values for broken images will not be handled. The image will remain broken until reported good again.</source>
        <translation type="vanished">Wenn aktiviert, werden weitere empfangene Istwerte für defekte Signalbilder nicht verarbeitet. Das Signalbild bleibt defekt, bis es wieder als in Ordnung gemeldet wird.</translation>
    </message>
    <message>
        <source>Ignore actual values for defective images</source>
        <translation type="vanished">Istwerte für defekte Signalbilder ignorieren</translation>
    </message>
    <message>
        <source>Firmware</source>
        <translation type="vanished">Firmware</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation type="vanished">Einstellungen</translation>
    </message>
    <message>
        <source>Baudrate for firmware upload</source>
        <translation type="vanished">Baudrate für die Firmware-Übertragung</translation>
    </message>
    <message>
        <source>Warning messages</source>
        <translation type="vanished">Warnmeldungen</translation>
    </message>
    <message>
        <source>Firmware of device is more recent then update</source>
        <translation type="vanished">Firmware des Geräts ist neuer als das Update</translation>
    </message>
    <message>
        <source>Firmware upload at high baudrate</source>
        <translation type="vanished">Firmware-Übertragung mit hoher Baudrate</translation>
    </message>
    <message>
        <source>Programming starts</source>
        <translation type="vanished">Programmierung beginnt</translation>
    </message>
</context>
<context>
    <name>SetOSI2AddressDialog</name>
    <message>
        <source>Set OSI 2 Address</source>
        <translation type="vanished">OSI-2-Adresse setzen</translation>
    </message>
    <message>
        <source>This will change the OSI 2 address of the Strelo and
reset it. The Lichtwart will disconnect and then
be reconfigured to use the new OSI 2 address.</source>
        <translation type="vanished">Dadurch wird die OSI-2-Adresse des Strelo geändert und
das Gerät zurückgesetzt. Lichtwart trennt die Verbindung
und verwendet danach die neue OSI-2-Adresse.</translation>
    </message>
    <message>
        <source>New OSI 2 Address</source>
        <translation type="vanished">Neue OSI-2-Adresse</translation>
    </message>
</context>
<context>
    <name>StreloVisualDialog</name>
    <message>
        <source>Strelo Visual</source>
        <translation type="vanished">Strelo-Fernsteuerung</translation>
    </message>
    <message>
        <source>Automatic setpoint</source>
        <translation type="vanished">Automatischer Sollwert</translation>
    </message>
    <message>
        <source>&lt;html&gt;&lt;head/&gt;&lt;body&gt;&lt;p style=&quot;white-space:nowrap;&quot;&gt;Use Schift+Click for steady yellow,&lt;br&gt;Ctrl+Click for flashing yellow&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation type="vanished">&lt;html&gt;&lt;head/&gt;&lt;body&gt;&lt;p style=&quot;white-space:nowrap;&quot;&gt;Umschalt+Klick für Dauergelb,&lt;br&gt;Strg+Klick für Gelbblinken&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</translation>
    </message>
    <message>
        <source>OFF</source>
        <translation type="vanished">AUS</translation>
    </message>
    <message>
        <source>Current (mA)</source>
        <translation type="vanished">Strom (mA)</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation type="vanished">Aktualisieren</translation>
    </message>
    <message>
        <source>Intensity</source>
        <translation type="vanished">Helligkeit</translation>
    </message>
    <message>
        <source>Dim</source>
        <translation type="vanished">Gedimmt</translation>
    </message>
    <message>
        <source>Full</source>
        <translation type="vanished">Voll</translation>
    </message>
    <message>
        <source>Close</source>
        <translation type="vanished">Schließen</translation>
    </message>
</context>
<context>
    <name>WarnAbortDialog</name>
    <message>
        <source>Warning</source>
        <translation type="vanished">Warnung</translation>
    </message>
    <message>
        <source>Don&apos;t show this message in future</source>
        <translation type="vanished">Diese Meldung künftig nicht mehr anzeigen</translation>
    </message>
    <message>
        <source>Continue</source>
        <translation type="vanished">Fortfahren</translation>
    </message>
    <message>
        <source>Abort</source>
        <translation type="vanished">Abbrechen</translation>
    </message>
</context>
<context>
    <name>WarnDialog</name>
    <message>
        <source>Warning</source>
        <translation type="vanished">Warnung</translation>
    </message>
    <message>
        <source>Don&apos;t show this message in future</source>
        <translation type="vanished">Diese Meldung künftig nicht mehr anzeigen</translation>
    </message>
    <message>
        <source>OK</source>
        <translation type="vanished">OK</translation>
    </message>
</context>
</TS>
