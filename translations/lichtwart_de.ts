<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>AboutDialog</name>
    <message>
        <source>About Lichtwart</source>
        <translation>Über Lichtwart</translation>
    </message>
    <message>
        <source>Lichtwart</source>
        <translation>Lichtwart</translation>
    </message>
    <message>
        <source>Version</source>
        <translation>Version</translation>
    </message>
    <message>
        <source>© Varnholt GmbH</source>
        <translation>© Varnholt GmbH</translation>
    </message>
    <message>
        <source>Ok</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>CLineCapture</name>
    <message>
        <source>The capture file %1 could not be created (%2). Choose a folder you may write to.</source>
        <translation>Die Mitschnittdatei %1 konnte nicht angelegt werden (%2). Wählen Sie einen Ordner, in den Sie schreiben dürfen.</translation>
    </message>
    <message>
        <source>The line capture to %1 has stopped: the file could not be written (%2). The connection goes on; start a new capture on a disk with free space.</source>
        <translation>Der Leitungsmitschnitt in %1 wurde beendet: Die Datei konnte nicht geschrieben werden (%2). Die Verbindung bleibt bestehen; starten Sie einen neuen Mitschnitt auf einem Datenträger mit freiem Platz.</translation>
    </message>
    <message>
        <source>The line capture to %1 has stopped: the file was deleted or moved away. The connection goes on; start a new capture to record it again.</source>
        <translation>Der Leitungsmitschnitt in %1 wurde beendet: Die Datei wurde gelöscht oder verschoben. Die Verbindung bleibt bestehen; starten Sie einen neuen Mitschnitt, um wieder aufzuzeichnen.</translation>
    </message>
    <message>
        <source>The line capture to %1 has stopped: the file could not be written fast enough. The connection goes on; start a new capture on a faster disk.</source>
        <translation>Der Leitungsmitschnitt in %1 wurde beendet: Die Datei konnte nicht schnell genug geschrieben werden. Die Verbindung bleibt bestehen; starten Sie einen neuen Mitschnitt auf einem schnelleren Datenträger.</translation>
    </message>
</context>
<context>
    <name>CStartup</name>
    <message>
        <source>Allow firmware upgrade from raw HEX files</source>
        <translation>Firmware-Aktualisierung aus Hex-Rohdateien erlauben</translation>
    </message>
</context>
<context>
    <name>FWUpgradeDialog</name>
    <message>
        <source>Firmware upgrade</source>
        <translation>Firmware-Aktualisierung</translation>
    </message>
    <message>
        <source>Firmware file</source>
        <translation>Firmware-Datei</translation>
    </message>
    <message>
        <source>Version:</source>
        <translation>Version:</translation>
    </message>
    <message>
        <source>unknown</source>
        <translation>unbekannt</translation>
    </message>
    <message>
        <source>Date:</source>
        <translation>Datum:</translation>
    </message>
    <message>
        <source>Fingerprint:</source>
        <translation>Fingerabdruck:</translation>
    </message>
    <message>
        <source>Load..</source>
        <translation>Laden...</translation>
    </message>
    <message>
        <source>Connected device</source>
        <translation>Verbundenes Gerät</translation>
    </message>
    <message>
        <source>Software version:</source>
        <translation>Softwareversion:</translation>
    </message>
    <message>
        <source>Hardware version:</source>
        <translation>Hardwareversion:</translation>
    </message>
    <message>
        <source>Program</source>
        <translation>Programmieren</translation>
    </message>
    <message>
        <source>Retry</source>
        <translation>Wiederholen</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>&lt;font color=&apos;#009933&apos;&gt;Connected to target device&lt;/font&gt;</source>
        <translation>&lt;font color=&apos;#009933&apos;&gt;Mit Zielgerät verbunden&lt;/font&gt;</translation>
    </message>
    <message>
        <source>Switching device to programming mode ...</source>
        <translation>Gerät wird in den Programmiermodus umgeschaltet ...</translation>
    </message>
    <message>
        <source>Enabling firmware flasher of target device ...</source>
        <translation>Bootloader des Zielgeräts wird aktiviert ...</translation>
    </message>
    <message>
        <source>Erasing flash, do &lt;b&gt;not&lt;/b&gt; disconnect ...</source>
        <translation>Flash-Speicher wird gelöscht, Verbindung &lt;b&gt;nicht&lt;/b&gt; trennen ...</translation>
    </message>
    <message>
        <source>Uploading firmware, do &lt;b&gt;not&lt;/b&gt; disconnect ...</source>
        <translation>Firmware wird übertragen, Verbindung &lt;b&gt;nicht&lt;/b&gt; trennen ...</translation>
    </message>
    <message>
        <source>&lt;font color=&apos;#009933&apos;&gt;Upgrade successful, resetting device ...&lt;/font&gt;</source>
        <translation>&lt;font color=&apos;#009933&apos;&gt;Aktualisierung erfolgreich, Gerät wird neu gestartet ...&lt;/font&gt;</translation>
    </message>
    <message>
        <source>&lt;font color=&apos;#009933&apos;&gt;All done, please close this window now&lt;/font&gt;</source>
        <translation>&lt;font color=&apos;#009933&apos;&gt;Fertig, bitte dieses Fenster jetzt schließen&lt;/font&gt;</translation>
    </message>
    <message>
        <source>&lt;font color=&apos;red&apos;&gt;No valid answer from firmware flasher!&lt;/font&gt;</source>
        <translation>&lt;font color=&apos;red&apos;&gt;Keine gültige Antwort vom Bootloader!&lt;/font&gt;</translation>
    </message>
    <message>
        <source>&lt;font color=&apos;red&apos;&gt;Failed to erase flash!&lt;/font&gt;</source>
        <translation>&lt;font color=&apos;red&apos;&gt;Löschen des Flash-Speichers fehlgeschlagen!&lt;/font&gt;</translation>
    </message>
    <message>
        <source>&lt;font color=&apos;red&apos;&gt;Failed to write data block to flash!&lt;/font&gt;</source>
        <translation>&lt;font color=&apos;red&apos;&gt;Schreiben eines Datenblocks in den Flash-Speicher fehlgeschlagen!&lt;/font&gt;</translation>
    </message>
    <message>
        <source>&lt;font color=&apos;red&apos;&gt;Failed to switch device to programming mode!&lt;/font&gt;</source>
        <translation>&lt;font color=&apos;red&apos;&gt;Umschalten des Geräts in den Programmiermodus fehlgeschlagen!&lt;/font&gt;</translation>
    </message>
    <message>
        <source>Trying to reconnect ...</source>
        <translation>Erneuter Verbindungsversuch ...</translation>
    </message>
    <message>
        <source>The baudrate to upload the firmware is higher then the operating baudrate of the device.
For on-site programming it is highly advised to use an upload baudrate that is lower or equal to the operating baudrate of the device.</source>
        <translation>Die Baudrate für die Firmware-Übertragung ist höher als die Betriebsbaudrate des Geräts.
Für die Programmierung vor Ort wird dringend empfohlen, eine Übertragungsbaudrate zu verwenden, die kleiner oder gleich der Betriebsbaudrate des Geräts ist.</translation>
    </message>
    <message>
        <source>The firmware you loaded from the file isn&apos;t&apos; more recent then the one running on the device connected.
Downgrading a device is supported but not advised.</source>
        <translation>Die aus der Datei geladene Firmware ist nicht neuer als die Firmware, die auf dem verbundenen Gerät läuft.
Ein Downgrade des Geräts ist möglich, wird aber nicht empfohlen.</translation>
    </message>
    <message>
        <source>Make sure the device is connected properly and powerd by a failsafe supply. Do not disconnect or power off the device during programming! Any interruption of the programming sequence will leave the device in defective state.

Do you really want to continue ?</source>
        <translation>Stellen Sie sicher, dass das Gerät richtig angeschlossen ist und von einer ausfallsicheren Stromversorgung gespeist wird. Trennen Sie das Gerät während der Programmierung nicht und schalten Sie es nicht aus! Jede Unterbrechung des Programmiervorgangs hinterlässt das Gerät in einem defekten Zustand.

Wirklich fortfahren?</translation>
    </message>
    <message>
        <source>Product detection error</source>
        <translation>Fehler bei der Produkterkennung</translation>
    </message>
    <message>
        <source>The connected device couldn&apos;t be determined.</source>
        <translation>Das verbundene Gerät konnte nicht bestimmt werden.</translation>
    </message>
    <message>
        <source>Please restart the application and try again.</source>
        <translation>Bitte starten Sie das Programm neu und versuchen Sie es erneut.</translation>
    </message>
    <message>
        <source>Open Firmware Upgrade Package</source>
        <translation>Firmware-Paket öffnen</translation>
    </message>
    <message>
        <source>Error loading firmware</source>
        <translation>Fehler beim Laden der Firmware</translation>
    </message>
    <message>
        <source>The following error occured while loading the firmware package:</source>
        <translation>Beim Laden des Firmware-Pakets ist folgender Fehler aufgetreten:</translation>
    </message>
    <message>
        <source>Raw hex file (*.hex *.mhx)</source>
        <translation>Hex-Rohdatei (*.hex *.mhx)</translation>
    </message>
    <message>
        <source>Firmware upgrade package (*.fwp)</source>
        <translation>Firmware-Paket (*.fwp)</translation>
    </message>
    <message>
        <source>Any (*.*)</source>
        <translation>Alle Dateien (*.*)</translation>
    </message>
    <message>
        <source>The firmware package is made for the product &apos;%1&apos;, but the connected device is a &apos;%2&apos;.
Firmware for another product can leave the device unusable.

Do you really want to continue ?</source>
        <translation>Das Firmware-Paket ist für das Produkt &apos;%1&apos; gemacht, das angeschlossene Gerät ist aber ein &apos;%2&apos;.
Firmware für ein anderes Produkt kann das Gerät unbrauchbar machen.

Wollen Sie wirklich fortfahren?</translation>
    </message>
</context>
<context>
    <name>FindDeviceDialog</name>
    <message>
        <source>Find Device</source>
        <translation>Gerät suchen</translation>
    </message>
    <message>
        <source>Searching %1 for heads at every baud rate and OSI 2 address...</source>
        <translation>Suche an %1 nach Signalköpfen bei jeder Baudrate und OSI-2-Adresse...</translation>
    </message>
    <message>
        <source>Use</source>
        <translation>Übernehmen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Heads found:</source>
        <translation>Gefundene Signalköpfe:</translation>
    </message>
    <message>
        <source>unknown</source>
        <translation>unbekannt</translation>
    </message>
    <message>
        <source>%1 baud, OSI 2 address %2, OSI 7 address %3
%4, hardware %5, software %6, UID %7</source>
        <translation>%1 Baud, OSI-2-Adresse %2, OSI-7-Adresse %3
%4, Hardware %5, Software %6, UID %7</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>The search was cancelled. Heads found so far: %1.</source>
        <translation>Die Suche wurde abgebrochen. Bisher gefundene Signalköpfe: %1.</translation>
    </message>
    <message>
        <source>No head answered on %1. Check the cable and the head&apos;s power, then search again.</source>
        <translation>An %1 hat kein Signalkopf geantwortet. Prüfen Sie das Kabel und die Stromversorgung des Signalkopfs und suchen Sie dann erneut.</translation>
    </message>
    <message>
        <source>The search has ended. Heads found: %1. Choose one and press Use.</source>
        <translation>Die Suche ist beendet. Gefundene Signalköpfe: %1. Wählen Sie einen aus und klicken Sie auf Übernehmen.</translation>
    </message>
    <message>
        <source>The device %1 could not be opened. Choose another device in the options, or close the program that uses it.</source>
        <translation>Das Gerät %1 konnte nicht geöffnet werden. Wählen Sie in den Optionen ein anderes Gerät oder beenden Sie das Programm, das es benutzt.</translation>
    </message>
    <message>
        <source>%1 refused these baud rates, so no head could be searched for at them: %2.</source>
        <translation>%1 hat diese Baudraten abgelehnt, daher konnte bei ihnen kein Signalkopf gesucht werden: %2.</translation>
    </message>
    <message>
        <source>The device %1 could not be opened. %2</source>
        <translation>Das Gerät %1 konnte nicht geöffnet werden. %2</translation>
    </message>
</context>
<context>
    <name>FlasherSyncDialog</name>
    <message>
        <source>Flasher Synchronization</source>
        <translation>Blinkgeber-Synchronisation</translation>
    </message>
    <message>
        <source>To start a new flasher synchronization cycle use one of the buttons below.</source>
        <translation>Einen neuen Synchronisationszyklus der Blinkgeber mit einer der folgenden Schaltflächen starten.</translation>
    </message>
    <message>
        <source>Soft Sync</source>
        <translation>Soft-Sync</translation>
    </message>
    <message>
        <source>Hard Sync</source>
        <translation>Hard-Sync</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Lichtwart - Varnholt GmbH</source>
        <translation>Lichtwart - Varnholt GmbH</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>View</source>
        <translation>&amp;Ansicht</translation>
    </message>
    <message>
        <source>Tools</source>
        <translation>&amp;Extras</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>&amp;Hilfe</translation>
    </message>
    <message>
        <source>E&amp;xit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <source>Exit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>Alt+X</source>
        <translation>Alt+X</translation>
    </message>
    <message>
        <source>Options..</source>
        <translation>Optionen...</translation>
    </message>
    <message>
        <source>About..</source>
        <translation>Über Lichtwart...</translation>
    </message>
    <message>
        <source>Connect</source>
        <translation>Verbinden</translation>
    </message>
    <message>
        <source>Clear Log</source>
        <translation>Trace leeren</translation>
    </message>
    <message>
        <source>Disconnect</source>
        <translation>Trennen</translation>
    </message>
    <message>
        <source>Strelo Remote Control</source>
        <translation>Strelo-Fernsteuerung</translation>
    </message>
    <message>
        <source>Flasher Synchronization..</source>
        <translation>Blinkgeber-Synchronisation...</translation>
    </message>
    <message>
        <source>Synchronize Flashers</source>
        <translation>Blinkgeber synchronisieren</translation>
    </message>
    <message>
        <source>Set &amp;OSI 2 Address..</source>
        <translation>&amp;OSI-2-Adresse setzen...</translation>
    </message>
    <message>
        <source>Change the OSI 2 Address of the connected Strelo</source>
        <translation>OSI-2-Adresse des verbundenen Strelo ändern</translation>
    </message>
    <message>
        <source>Upgrade Firmware..</source>
        <translation>Firmware aktualisieren...</translation>
    </message>
    <message>
        <source>Direction</source>
        <translation>Richtung</translation>
    </message>
    <message>
        <source>Timestamp</source>
        <translation>Zeitstempel</translation>
    </message>
    <message>
        <source>Length</source>
        <translation>Länge</translation>
    </message>
    <message>
        <source>Func. Group</source>
        <translation>Funktionsgruppe</translation>
    </message>
    <message>
        <source>Application ID</source>
        <translation>Anwendungs-ID</translation>
    </message>
    <message>
        <source>Jobnumber</source>
        <translation>Jobnummer</translation>
    </message>
    <message>
        <source>Blockcount</source>
        <translation>Blockanzahl</translation>
    </message>
    <message>
        <source>Data</source>
        <translation>Daten</translation>
    </message>
    <message>
        <source>Frametype</source>
        <translation>Telegrammtyp</translation>
    </message>
    <message>
        <source>OSI3 Adr. ID</source>
        <translation>OSI3-Adr.-ID</translation>
    </message>
    <message>
        <source>PRM</source>
        <translation>PRM</translation>
    </message>
    <message>
        <source>FCB</source>
        <translation>FCB</translation>
    </message>
    <message>
        <source>FCV</source>
        <translation>FCV</translation>
    </message>
    <message>
        <source>ACD</source>
        <translation>ACD</translation>
    </message>
    <message>
        <source>DFC</source>
        <translation>DFC</translation>
    </message>
    <message>
        <source>Function</source>
        <translation>Funktion</translation>
    </message>
    <message>
        <source>Address</source>
        <translation>Adresse</translation>
    </message>
    <message>
        <source>Checksum</source>
        <translation>Prüfsumme</translation>
    </message>
    <message>
        <source>Version %1</source>
        <translation>Version %1</translation>
    </message>
    <message>
        <source>Device open failed</source>
        <translation>Gerät konnte nicht geöffnet werden</translation>
    </message>
    <message>
        <source>The device %1 could not be opened.</source>
        <translation>Das Gerät %1 konnte nicht geöffnet werden.</translation>
    </message>
    <message>
        <source>Save Trace...</source>
        <translation>Trace speichern...</translation>
    </message>
    <message>
        <source>Save the rows of the trace table to a file</source>
        <translation>Die Zeilen der Trace-Tabelle in eine Datei speichern</translation>
    </message>
    <message>
        <source>Ctrl+S</source>
        <translation>Ctrl+S</translation>
    </message>
    <message>
        <source>Find Device...</source>
        <translation>Gerät suchen...</translation>
    </message>
    <message>
        <source>Search the serial device for heads at every baud rate and OSI 2 address</source>
        <translation>Die serielle Schnittstelle bei jeder Baudrate und OSI-2-Adresse nach Signalköpfen durchsuchen</translation>
    </message>
    <message>
        <source>Capture Line to File...</source>
        <translation>Leitung in Datei mitschneiden...</translation>
    </message>
    <message>
        <source>Record every byte on the serial line into a file that Wireshark opens</source>
        <translation>Jedes Byte auf der seriellen Leitung in eine Datei aufzeichnen, die Wireshark öffnet</translation>
    </message>
    <message>
        <source>Capture Line to File</source>
        <translation>Leitung in Datei mitschneiden</translation>
    </message>
    <message>
        <source>Line captures (*.pcap)</source>
        <translation>Leitungsmitschnitte (*.pcap)</translation>
    </message>
    <message>
        <source>Line capture failed</source>
        <translation>Leitungsmitschnitt fehlgeschlagen</translation>
    </message>
    <message>
        <source>Line capture stopped</source>
        <translation>Leitungsmitschnitt beendet</translation>
    </message>
    <message>
        <source>Capturing: %1</source>
        <translation>Mitschnitt: %1</translation>
    </message>
    <message>
        <source>Line capture ended</source>
        <translation>Leitungsmitschnitt abgeschlossen</translation>
    </message>
    <message>
        <source>The line capture ended with the disconnect. It is saved in %1.</source>
        <translation>Der Leitungsmitschnitt endete mit dem Trennen der Verbindung. Er ist in %1 gespeichert.</translation>
    </message>
</context>
<context>
    <name>OptionsDialog</name>
    <message>
        <source>Options</source>
        <translation>Optionen</translation>
    </message>
    <message>
        <source>Interface</source>
        <translation>Schnittstelle</translation>
    </message>
    <message>
        <source>&amp;Device name</source>
        <translation>&amp;Gerätename</translation>
    </message>
    <message>
        <source>&amp;Baudrate</source>
        <translation>&amp;Baudrate</translation>
    </message>
    <message>
        <source>Trace</source>
        <translation>Trace</translation>
    </message>
    <message>
        <source>Trace level</source>
        <translation>Trace-Ebene</translation>
    </message>
    <message>
        <source>TLS OSI 7</source>
        <translation>TLS OSI 7</translation>
    </message>
    <message>
        <source>TLS OSI 2</source>
        <translation>TLS OSI 2</translation>
    </message>
    <message>
        <source>IEC 870 (raw serial)</source>
        <translation>IEC 870 (serielle Rohdaten)</translation>
    </message>
    <message>
        <source>Lines in visible trace</source>
        <translation>Zeilen im sichtbaren Trace</translation>
    </message>
    <message>
        <source>Target</source>
        <translation>Zielgerät</translation>
    </message>
    <message>
        <source>OSI 2 Address</source>
        <translation>OSI-2-Adresse</translation>
    </message>
    <message>
        <source>OSI 7 (DE) Address</source>
        <translation>OSI-7-Adresse (DE)</translation>
    </message>
    <message>
        <source>&lt;html&gt;&lt;head/&gt;&lt;body&gt;&lt;p&gt;If enabled, the target&apos;s functional group 254 will receive receive a configuration frame (TLS 33) to assign the physical channel to the OSI7 (DE) address.&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation>&lt;html&gt;&lt;head/&gt;&lt;body&gt;&lt;p&gt;Wenn aktiviert, erhält die Funktionsgruppe 254 des Zielgeräts ein Konfigurationstelegramm (TLS 33), das den physikalischen Kanal der OSI7-Adresse (DE) zuweist.&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</translation>
    </message>
    <message>
        <source>Assign address on link up</source>
        <translation>Adresse beim Verbindungsaufbau zuweisen</translation>
    </message>
    <message>
        <source>Flasher Configuration</source>
        <translation>Blinkgeber-Konfiguration</translation>
    </message>
    <message>
        <source>Cycle Period</source>
        <translation>Taktperiode</translation>
    </message>
    <message>
        <source>ms</source>
        <translation>ms</translation>
    </message>
    <message>
        <source>Synchronization</source>
        <translation>Synchronisation</translation>
    </message>
    <message>
        <source>Soft Cycles</source>
        <translation>Soft-Sync-Zyklen</translation>
    </message>
    <message>
        <source>Use OSI2 broadcast address</source>
        <translation>OSI2-Broadcast-Adresse verwenden</translation>
    </message>
    <message>
        <source>Use OSI7 broadcast address</source>
        <translation>OSI7-Broadcast-Adresse verwenden</translation>
    </message>
    <message>
        <source>Behaviour</source>
        <translation>Verhalten</translation>
    </message>
    <message>
        <source>If enabled, any further received actual values for broken images will not be handled. The image will remain broken until reported good again.</source>
        <translation>Wenn aktiviert, werden weitere empfangene Istwerte für defekte Signalbilder nicht verarbeitet. Das Signalbild bleibt defekt, bis es wieder als in Ordnung gemeldet wird.</translation>
    </message>
    <message>
        <source>Ignore actual values for defective images</source>
        <translation>Istwerte für defekte Signalbilder ignorieren</translation>
    </message>
    <message>
        <source>Firmware</source>
        <translation>Firmware</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>Baudrate for firmware upload</source>
        <translation>Baudrate für die Firmware-Übertragung</translation>
    </message>
    <message>
        <source>Warning messages</source>
        <translation>Warnmeldungen</translation>
    </message>
    <message>
        <source>Firmware of device is more recent then update</source>
        <translation>Firmware des Geräts ist neuer als das Update</translation>
    </message>
    <message>
        <source>Firmware upload at high baudrate</source>
        <translation>Firmware-Übertragung mit hoher Baudrate</translation>
    </message>
    <message>
        <source>Programming starts</source>
        <translation>Programmierung beginnt</translation>
    </message>
    <message>
        <source>Ask before programming a package made for another product than the connected head</source>
        <translation>Vor dem Programmieren nachfragen, wenn das Paket für ein anderes Produkt als den angeschlossenen Signalkopf gemacht ist</translation>
    </message>
    <message>
        <source>Package made for another product</source>
        <translation>Paket für ein anderes Produkt</translation>
    </message>
</context>
<context>
    <name>PortOpenReason</name>
    <message>
        <source>a regular file</source>
        <translation>eine gewöhnliche Datei</translation>
    </message>
    <message>
        <source>a folder</source>
        <translation>ein Ordner</translation>
    </message>
    <message>
        <source>a pipe</source>
        <translation>eine Pipe</translation>
    </message>
    <message>
        <source>a socket</source>
        <translation>ein Socket</translation>
    </message>
    <message>
        <source>a block device</source>
        <translation>ein Blockgerät</translation>
    </message>
    <message>
        <source>a device that is no terminal</source>
        <translation>ein Gerät, das kein Terminal ist</translation>
    </message>
    <message>
        <source>no parity</source>
        <translation>keine Parität</translation>
    </message>
    <message>
        <source>even parity</source>
        <translation>gerade Parität</translation>
    </message>
    <message>
        <source>odd parity</source>
        <translation>ungerade Parität</translation>
    </message>
    <message>
        <source>The system refused to open %1: %2.</source>
        <translation>Das System hat das Öffnen von %1 verweigert: %2.</translation>
    </message>
    <message>
        <source>You are not allowed to use %1, and no group gives access to it. Ask the administrator of this computer to give your user access to the device.</source>
        <translation>Sie dürfen %1 nicht benutzen, und keine Gruppe gibt Zugriff darauf. Bitten Sie den Administrator dieses Computers, Ihrem Benutzer Zugriff auf das Gerät zu geben.</translation>
    </message>
    <message>
        <source>You are not allowed to use %1 yet: it belongs to the group %2, and your user %3 was added to that group after this login began. Log out and log in again.</source>
        <translation>Sie dürfen %1 noch nicht benutzen: Es gehört der Gruppe %2, und Ihr Benutzer %3 wurde erst nach dieser Anmeldung in die Gruppe aufgenommen. Melden Sie sich ab und wieder an.</translation>
    </message>
    <message>
        <source>You are not allowed to use %1: it belongs to the group %2, and your user %3 is not in it. Add the user to the group with the command &quot;sudo adduser %3 %2&quot;, then log out and log in again (the new group counts from the next login on).</source>
        <translation>Sie dürfen %1 nicht benutzen: Es gehört der Gruppe %2, und Ihr Benutzer %3 ist nicht darin. Nehmen Sie den Benutzer mit dem Befehl &quot;sudo adduser %3 %2&quot; in die Gruppe auf und melden Sie sich dann ab und wieder an (die neue Gruppe gilt ab der nächsten Anmeldung).</translation>
    </message>
    <message>
        <source>%1 (process %2)</source>
        <translation>%1 (Prozess %2)</translation>
    </message>
    <message>
        <source>a program</source>
        <translation>ein Programm</translation>
    </message>
    <message>
        <source>%1 is in use by another program. Close that program (or end its connection), then try again.</source>
        <translation>%1 wird von einem anderen Programm benutzt. Schließen Sie dieses Programm (oder beenden Sie seine Verbindung) und versuchen Sie es dann erneut.</translation>
    </message>
    <message>
        <source>%1 is in use by another program: %2. Close that program (or end its connection), then try again.</source>
        <translation>%1 wird von einem anderen Programm benutzt: %2. Schließen Sie dieses Programm (oder beenden Sie seine Verbindung) und versuchen Sie es dann erneut.</translation>
    </message>
    <message>
        <source>There is no device %1.</source>
        <translation>Es gibt kein Gerät %1.</translation>
    </message>
    <message>
        <source>There is no serial hardware behind %1 (%2).</source>
        <translation>Hinter %1 steckt keine serielle Hardware (%2).</translation>
    </message>
    <message>
        <source>%1 is not a serial device.</source>
        <translation>%1 ist keine serielle Schnittstelle.</translation>
    </message>
    <message>
        <source>%1 is not a serial device but %2.</source>
        <translation>%1 ist keine serielle Schnittstelle, sondern %2.</translation>
    </message>
    <message>
        <source>%1 baud</source>
        <translation>%1 Baud</translation>
    </message>
    <message>
        <source>%1 data bits</source>
        <translation>%1 Datenbits</translation>
    </message>
    <message>
        <source>one stop bit</source>
        <translation>ein Stoppbit</translation>
    </message>
    <message>
        <source>two stop bits</source>
        <translation>zwei Stoppbits</translation>
    </message>
    <message>
        <source>they did not take effect</source>
        <translation>sie wurden nicht übernommen</translation>
    </message>
    <message>
        <source>%1 refused the settings %2 (%3). Choose another baud rate in the options, or another port.</source>
        <translation>%1 hat die Einstellungen %2 abgelehnt (%3). Wählen Sie in den Optionen eine andere Baudrate oder eine andere Schnittstelle.</translation>
    </message>
    <message>
        <source>No serial port is present on this computer: plug in the adapter, then try again.</source>
        <translation>An diesem Computer ist keine serielle Schnittstelle vorhanden: Stecken Sie den Adapter ein und versuchen Sie es dann erneut.</translation>
    </message>
    <message>
        <source>Ports present: %1.</source>
        <translation>Vorhandene Schnittstellen: %1.</translation>
    </message>
    <message>
        <source>On Linux, %1 is taken to mean %2. </source>
        <translation>Unter Linux steht %1 für %2. </translation>
    </message>
</context>
<context>
    <name>SerialPortCompleter</name>
    <message>
        <source>Serial ports present</source>
        <translation>Vorhandene serielle Schnittstellen</translation>
    </message>
</context>
<context>
    <name>SetOSI2AddressDialog</name>
    <message>
        <source>Set OSI 2 Address</source>
        <translation>OSI-2-Adresse setzen</translation>
    </message>
    <message>
        <source>This will change the OSI 2 address of the Strelo and
reset it. The Lichtwart will disconnect and then
be reconfigured to use the new OSI 2 address.</source>
        <translation>Dadurch wird die OSI-2-Adresse des Strelo geändert und
das Gerät zurückgesetzt. Lichtwart trennt die Verbindung
und verwendet danach die neue OSI-2-Adresse.</translation>
    </message>
    <message>
        <source>New OSI 2 Address</source>
        <translation>Neue OSI-2-Adresse</translation>
    </message>
</context>
<context>
    <name>StreloVisualDialog</name>
    <message>
        <source>Strelo Visual</source>
        <translation>Strelo-Fernsteuerung</translation>
    </message>
    <message>
        <source>Automatic setpoint</source>
        <translation>Automatischer Sollwert</translation>
    </message>
    <message>
        <source>&lt;html&gt;&lt;head/&gt;&lt;body&gt;&lt;p style=&quot;white-space:nowrap;&quot;&gt;Use Schift+Click for steady yellow,&lt;br&gt;Ctrl+Click for flashing yellow&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
        <translation>&lt;html&gt;&lt;head/&gt;&lt;body&gt;&lt;p style=&quot;white-space:nowrap;&quot;&gt;Umschalt+Klick für Dauergelb,&lt;br&gt;Strg+Klick für Gelbblinken&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</translation>
    </message>
    <message>
        <source>OFF</source>
        <translation>AUS</translation>
    </message>
    <message>
        <source>Current (mA)</source>
        <translation>Strom (mA)</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <source>Intensity</source>
        <translation>Helligkeit</translation>
    </message>
    <message>
        <source>Dim</source>
        <translation>Gedimmt</translation>
    </message>
    <message>
        <source>Full</source>
        <translation>Voll</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
</context>
<context>
    <name>TraceTableExport</name>
    <message>
        <source>Comma-separated values (*.csv)</source>
        <translation>Kommagetrennte Werte (*.csv)</translation>
    </message>
    <message>
        <source>Tab-separated text (*.txt)</source>
        <translation>Tabulatorgetrennter Text (*.txt)</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <source>Save Trace</source>
        <translation>Trace speichern</translation>
    </message>
    <message>
        <source>Saving the trace failed</source>
        <translation>Speichern des Trace fehlgeschlagen</translation>
    </message>
    <message>
        <source>The trace could not be written to %1: %2
Choose another file or folder and save again.</source>
        <translation>Der Trace konnte nicht nach %1 geschrieben werden: %2
Wählen Sie eine andere Datei oder einen anderen Ordner und speichern Sie erneut.</translation>
    </message>
</context>
<context>
    <name>WarnAbortDialog</name>
    <message>
        <source>Warning</source>
        <translation>Warnung</translation>
    </message>
    <message>
        <source>Don&apos;t show this message in future</source>
        <translation>Diese Meldung künftig nicht mehr anzeigen</translation>
    </message>
    <message>
        <source>Continue</source>
        <translation>Fortfahren</translation>
    </message>
    <message>
        <source>Abort</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>WarnDialog</name>
    <message>
        <source>Warning</source>
        <translation>Warnung</translation>
    </message>
    <message>
        <source>Don&apos;t show this message in future</source>
        <translation>Diese Meldung künftig nicht mehr anzeigen</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
</context>
</TS>
