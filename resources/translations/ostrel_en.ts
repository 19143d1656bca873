<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="de">
<context>
    <name>AboutContent</name>
    <message>
        <source>Dein Blick. Deine Perspektive.</source>
        <translation>Your view. Your perspective.</translation>
    </message>
    <message>
        <source>Version </source>
        <translation>Version </translation>
    </message>
    <message>
        <source>Native Linux-App für die OSTREL USB-Doppel-Kameras (Wide + Macro).</source>
        <translation>Native Linux app for the OSTREL USB twin cameras (Wide + Macro).</translation>
    </message>
</context>
<context>
    <name>AppearanceMode</name>
    <message>
        <source>Automatisch</source>
        <translation>Automatic</translation>
    </message>
    <message>
        <source>Hell</source>
        <translation>Light</translation>
    </message>
    <message>
        <source>Dunkel</source>
        <translation>Dark</translation>
    </message>
</context>
<context>
    <name>AudioSettings</name>
    <message>
        <source>Mikrofon</source>
        <translation>Microphone</translation>
    </message>
    <message>
        <source>Kein Ton</source>
        <translation>No sound</translation>
    </message>
    <message>
        <source>Ohne Ton wird nur Bild aufgenommen. Ein angeschlossenes USB-Mikrofon erscheint hier zur Auswahl.</source>
        <translation>Without sound, only the picture is recorded. A connected USB microphone appears here to choose.</translation>
    </message>
</context>
<context>
    <name>BottomBar</name>
    <message>
        <source>Aufnahme wird gespeichert …</source>
        <translation>Saving recording …</translation>
    </message>
    <message>
        <source>Bildstabilisierung (S)</source>
        <translation>Image stabilisation (S)</translation>
    </message>
    <message>
        <source>Bildstabilisierung</source>
        <translation>Image stabilisation</translation>
    </message>
    <message>
        <source>Ein</source>
        <translation>On</translation>
    </message>
    <message>
        <source>Aus</source>
        <translation>Off</translation>
    </message>
    <message>
        <source>MACRO-GRÖSSE %1 %</source>
        <translation>MACRO SIZE %1 %</translation>
    </message>
</context>
<context>
    <name>CameraControlsController</name>
    <message>
        <source>Aus</source>
        <translation>Off</translation>
    </message>
    <message>
        <source>50 Hz</source>
        <translation>50 Hz</translation>
    </message>
    <message>
        <source>60 Hz</source>
        <translation>60 Hz</translation>
    </message>
    <message>
        <source>Automatisch</source>
        <translation>Automatic</translation>
    </message>
    <message>
        <source>Netzfrequenz</source>
        <translation>Power line frequency</translation>
    </message>
    <message>
        <source>Automatische Belichtung</source>
        <translation>Automatic exposure</translation>
    </message>
    <message>
        <source>Belichtung</source>
        <translation>Exposure</translation>
    </message>
    <message>
        <source>Automatischer Weißabgleich</source>
        <translation>Automatic white balance</translation>
    </message>
    <message>
        <source>Farbtemperatur</source>
        <translation>Colour temperature</translation>
    </message>
    <message>
        <source>Autofokus</source>
        <translation>Autofocus</translation>
    </message>
    <message>
        <source>Fokus</source>
        <translation>Focus</translation>
    </message>
    <message>
        <source>Helligkeit</source>
        <translation>Brightness</translation>
    </message>
    <message>
        <source>Kontrast</source>
        <translation>Contrast</translation>
    </message>
    <message>
        <source>Sättigung</source>
        <translation>Saturation</translation>
    </message>
    <message>
        <source>Schärfe</source>
        <translation>Sharpness</translation>
    </message>
</context>
<context>
    <name>CameraControlsPanel</name>
    <message>
        <source>Auf Kamerawerte zurücksetzen</source>
        <translation>Reset to camera defaults</translation>
    </message>
</context>
<context>
    <name>CameraErrorTexts</name>
    <message>
        <source>Kein Zugriff auf die Kamera — Benutzer zur Gruppe „video“ hinzufügen (sudo usermod -aG video $USER), neu anmelden und neu starten (↻)</source>
        <translation>No access to the camera — add the user to the “video” group (sudo usermod -aG video $USER), log in again and restart (↻)</translation>
    </message>
    <message>
        <source>Kamera wird von einem anderen Programm verwendet — dieses Programm beenden, dann neu starten (↻)</source>
        <translation>The camera is in use by another program — quit that program, then restart (↻)</translation>
    </message>
    <message>
        <source>Kamera wird von einem anderen Programm verwendet (%1) — dieses Programm beenden, dann neu starten (↻)</source>
        <translation>The camera is in use by another program (%1) — quit that program, then restart (↻)</translation>
    </message>
    <message>
        <source>USB-Bandbreite reicht nicht — Kameras an verschiedene USB-Anschlüsse anschließen</source>
        <translation>Not enough USB bandwidth — connect the cameras to different USB ports</translation>
    </message>
    <message>
        <source>Kamera getrennt: %1 — USB-Verbindung/Hub prüfen</source>
        <translation>Camera disconnected: %1 — check the USB connection/hub</translation>
    </message>
    <message>
        <source>%1-Kamera (%2) liefert kein Bild mehr — USB-Verbindung/Hub prüfen und neu starten (↻)</source>
        <translation>The %1 camera (%2) no longer delivers a picture — check the USB connection/hub and restart (↻)</translation>
    </message>
    <message>
        <source>Bildstrom der %1-Kamera (%2) abgebrochen — neu starten (↻); bei Wiederholung USB-Verbindung/Hub prüfen</source>
        <translation>The %1 camera&apos;s (%2) stream broke off — restart (↻); if it happens again, check the USB connection/hub</translation>
    </message>
</context>
<context>
    <name>CameraManager</name>
    <message>
        <source>Für 30 Bilder pro Sekunde 1920 × 1080 wählen.</source>
        <translation>Choose 1920 × 1080 for 30 frames per second.</translation>
    </message>
    <message>
        <source>Aufnahme fehlgeschlagen — Laufwerk getrennt oder Schreibfehler. Die Datei ist voraussichtlich unbrauchbar.</source>
        <translation>Recording failed — drive disconnected or write error. The file is probably unusable.</translation>
    </message>
    <message>
        <source>Aufnahme automatisch beendet: Der Speicherplatz am Ziel ist fast voll. Die Aufnahme wurde gespeichert.</source>
        <translation>Recording stopped automatically: the destination is almost full. The recording has been saved.</translation>
    </message>
    <message>
        <source>Speicher fast voll · ≈ %1 Min</source>
        <translation>Storage almost full · ≈ %1 min</translation>
    </message>
    <message>
        <source>Aufnahme nicht gestartet: In den Aufnahmeordner kann nicht geschrieben werden (Laufwerk voll, schreibgeschützt oder getrennt?). Bitte den Ordner prüfen oder einen anderen wählen.</source>
        <translation>Recording not started: the recording folder cannot be written to (drive full, write-protected or disconnected?). Please check the folder or choose another one.</translation>
    </message>
    <message>
        <source>Beide Kameras fehlen — die Aufnahme läuft nur mit Ton weiter. USB-Verbindung/Hub prüfen.</source>
        <translation>Both cameras are missing — the recording goes on with sound only. Check the USB connection/hub.</translation>
    </message>
    <message>
        <source>Beide Kameras fehlen — USB-Verbindung/Hub prüfen.</source>
        <translation>Both cameras are missing — check the USB connection/hub.</translation>
    </message>
    <message>
        <source>Wide-Kamera fehlt — die Aufnahme läuft ohne Bild weiter, mit Ton. USB-Verbindung/Hub prüfen.</source>
        <translation>Wide camera missing — the recording goes on without picture, with sound. Check the USB connection/hub.</translation>
    </message>
    <message>
        <source>Wide-Kamera fehlt — USB-Verbindung/Hub prüfen.</source>
        <translation>Wide camera missing — check the USB connection/hub.</translation>
    </message>
    <message>
        <source>Makro-Kamera fehlt — die Aufnahme läuft ohne Makrobild weiter. USB-Verbindung/Hub prüfen.</source>
        <translation>Macro camera missing — the recording goes on without the Macro picture. Check the USB connection/hub.</translation>
    </message>
    <message>
        <source>Makro-Kamera fehlt — USB-Verbindung/Hub prüfen.</source>
        <translation>Macro camera missing — check the USB connection/hub.</translation>
    </message>
    <message>
        <source>Mikrofon fehlt — die Aufnahme läuft ohne Ton weiter. Anschluss prüfen.</source>
        <translation>Microphone missing — the recording continues without sound. Check the connection.</translation>
    </message>
    <message>
        <source>Mikrofon fehlt — Anschluss prüfen.</source>
        <translation>Microphone missing — check the connection.</translation>
    </message>
    <message>
        <source>Der Aufnahmeordner ist während der Aufnahme verschwunden, und es gibt keinen Ort, an dem sie weiterlaufen kann. Die Aufnahme wird beim Beenden gerettet, soweit möglich.</source>
        <translation>The recording folder disappeared during the recording, and there is no place where it can continue. The recording will be rescued as far as possible when it is stopped.</translation>
    </message>
    <message>
        <source>Der Aufnahmeordner ist während der Aufnahme verschwunden (gelöscht, umbenannt oder Laufwerk getrennt). Die Aufnahme läuft weiter in „%1“ und wird beim Beenden gespeichert.</source>
        <translation>The recording folder disappeared during the recording (deleted, renamed or drive disconnected). The recording continues in “%1” and will be saved when it is stopped.</translation>
    </message>
    <message>
        <source>Die Aufnahme konnte nicht abgeschlossen werden: Das Laufwerk reagiert nicht. Sie bleibt als versteckte Teilaufnahme in „%1“ erhalten und wird gespeichert, sobald das Laufwerk wieder antwortet.</source>
        <translation>The recording could not be finished: the drive is not responding. It is kept as a hidden partial recording in “%1” and will be saved as soon as the drive responds again.</translation>
    </message>
    <message>
        <source>Der Aufnahmeordner war nicht erreichbar. Die Aufnahme wurde in „%1“ gespeichert.</source>
        <translation>The recording folder could not be reached. The recording was saved in “%1”.</translation>
    </message>
    <message>
        <source>Die Aufnahme konnte nicht gespeichert werden: Ihr Ordner ist verschwunden, und es gibt keinen beschreibbaren Ort für sie.</source>
        <translation>The recording could not be saved: its folder has disappeared, and there is no writable place for it.</translation>
    </message>
    <message>
        <source>Aufnahme konnte nicht in den Aufnahmeordner verschoben werden (Laufwerk voll oder getrennt?). Sie liegt als versteckte Teilaufnahme in „%1“ und wird gespeichert, sobald der Aufnahmeordner wieder erreichbar ist.</source>
        <translation>The recording could not be moved into the recording folder (drive full or disconnected?). It is kept as a hidden partial recording in “%1” and will be saved as soon as the recording folder can be reached again.</translation>
    </message>
    <message>
        <source>Laufwerk reagiert nicht. Die Aufnahme läuft weiter und wird im Arbeitsspeicher gehalten, bis das Laufwerk wieder schreibt.</source>
        <translation>The drive is not responding. The recording continues and is held in memory until the drive writes again.</translation>
    </message>
    <message>
        <source>Dieser Rechner schafft %1 × %2 nicht mit %3 Bildern pro Sekunde. Die Aufnahme läuft gleichmäßig mit %4 Bildern pro Sekunde.</source>
        <translation>This computer cannot record %1 × %2 at %3 frames per second. The recording runs evenly at %4 frames per second.</translation>
    </message>
</context>
<context>
    <name>CameraSettings</name>
    <message>
        <source>Zuordnung</source>
        <translation>Assignment</translation>
    </message>
    <message>
        <source>Wide (Übersicht)</source>
        <translation>Wide (overview)</translation>
    </message>
    <message>
        <source>Macro (Nahaufnahme)</source>
        <translation>Macro (close-up)</translation>
    </message>
    <message>
        <source>Wide ↔ Macro tauschen</source>
        <translation>Swap Wide ↔ Macro</translation>
    </message>
    <message>
        <source>Wide und Macro sind dieselbe Kamera.</source>
        <translation>Wide and Macro are the same camera.</translation>
    </message>
    <message>
        <source>Bild</source>
        <translation>Picture</translation>
    </message>
    <message>
        <source>Bildstabilisierung (Makro)</source>
        <translation>Image stabilisation (Macro)</translation>
    </message>
    <message>
        <source>Reduziert das Zittern der Makro-Kamera (leichter Bildausschnitt).</source>
        <translation>Reduces the shake of the Macro camera (slightly cropped picture).</translation>
    </message>
    <message>
        <source>Startet die Ersteinrichtung (Ordner, Kameras, Mikrofon) erneut.</source>
        <translation>Starts the first-run setup (folder, cameras, microphone) again.</translation>
    </message>
    <message>
        <source>Einrichtung erneut durchführen</source>
        <translation>Run setup again</translation>
    </message>
    <message>
        <source>Diagnose-Anzeigen und Feinjustierung der Bildstabilisierung.</source>
        <translation>Diagnostic displays and fine-tuning of the image stabilisation.</translation>
    </message>
    <message>
        <source>Entwickler-Optionen</source>
        <translation>Developer options</translation>
    </message>
</context>
<context>
    <name>CameraStatus</name>
    <message>
        <source>Bereit</source>
        <translation>Ready</translation>
    </message>
    <message>
        <source>Suche Kameras…</source>
        <translation>Searching for cameras…</translation>
    </message>
    <message>
        <source>Live</source>
        <translation>Live</translation>
    </message>
    <message>
        <source>Keine Kameras</source>
        <translation>No cameras</translation>
    </message>
    <message>
        <source>Kamera-Fehler</source>
        <translation>Camera error</translation>
    </message>
    <message>
        <source>Kamera ohne Bild</source>
        <translation>Camera without picture</translation>
    </message>
    <message>
        <source>Neustart…</source>
        <translation>Restarting…</translation>
    </message>
    <message>
        <source>Kamera getrennt</source>
        <translation>Camera disconnected</translation>
    </message>
    <message>
        <source>Gestoppt</source>
        <translation>Stopped</translation>
    </message>
    <message>
        <source>Aufnahme-Fehler</source>
        <translation>Recording error</translation>
    </message>
</context>
<context>
    <name>CameraStreamSaver</name>
    <message>
        <source>%1 gibt es nicht</source>
        <translation>%1 does not exist</translation>
    </message>
    <message>
        <source>%1 lässt sich nicht öffnen: %2</source>
        <translation>%1 cannot be opened: %2</translation>
    </message>
    <message>
        <source>%1 ist keine Kamera</source>
        <translation>%1 is not a camera</translation>
    </message>
    <message>
        <source>%1 lässt sich nicht schreiben: %2</source>
        <translation>%1 cannot be written: %2</translation>
    </message>
    <message>
        <source>%1 streamt nicht: %2</source>
        <translation>%1 does not stream: %2</translation>
    </message>
    <message>
        <source>%1 liefert kein MJPEG</source>
        <translation>%1 does not deliver MJPEG</translation>
    </message>
    <message>
        <source>%1 wurde getrennt</source>
        <translation>%1 was disconnected</translation>
    </message>
    <message>
        <source>Bildstrom von %1 abgebrochen</source>
        <translation>The stream of %1 broke off</translation>
    </message>
    <message>
        <source>%1 hat keine Bilder geliefert</source>
        <translation>%1 delivered no pictures</translation>
    </message>
</context>
<context>
    <name>CommandLine</name>
    <message>
        <source>Aufruf: ostrel [OPTION]</source>
        <translation>Usage: ostrel [OPTION]</translation>
    </message>
    <message>
        <source>Live-Bild und Aufnahme der OSTREL-Lupen-Kameras (Wide + Macro).</source>
        <translation>Live view and recording for the OSTREL loupe cameras (Wide + Macro).</translation>
    </message>
    <message>
        <source>Ohne Option öffnet sich das Programmfenster.</source>
        <translation>Without an option the program window opens.</translation>
    </message>
    <message>
        <source>Optionen:</source>
        <translation>Options:</translation>
    </message>
    <message>
        <source>diese Hilfe zeigen und beenden</source>
        <translation>show this help and exit</translation>
    </message>
    <message>
        <source>die Version zeigen und beenden</source>
        <translation>show the version and exit</translation>
    </message>
    <message>
        <source>Umgebungsvariablen:</source>
        <translation>Environment variables:</translation>
    </message>
    <message>
        <source>statt echter Kameras ein virtuelles Kamerapaar und ein virtuelles Mikrofon verwenden (zum Ausprobieren ohne Kameras)</source>
        <translation>use a virtual camera pair and a virtual microphone instead of real cameras (to try the program without cameras)</translation>
    </message>
    <message>
        <source>Fehler der virtuellen Geräte vorgeben, z. B. „silent=ostrel-virtual-camera-2“ (Macro-Kamera ohne Bild)</source>
        <translation>make the virtual devices fail, e.g. &quot;silent=ostrel-virtual-camera-2&quot; (Macro camera without picture)</translation>
    </message>
    <message>
        <source>Sprache: Deutsch bei deutscher Systemsprache, sonst Englisch</source>
        <translation>language: German when the system language is German, else English</translation>
    </message>
    <message>
        <source>Anzeigesystem, z. B. „wayland“ oder „xcb“</source>
        <translation>display system, e.g. &quot;wayland&quot; or &quot;xcb&quot;</translation>
    </message>
    <message>
        <source>Einstellungen: %1</source>
        <translation>Settings: %1</translation>
    </message>
    <message>
        <source>Diagnoseprotokoll: %1</source>
        <translation>Diagnostic log: %1</translation>
    </message>
    <message>
        <source>GERÄT DATEI SEKUNDEN</source>
        <translation>DEVICE FILE SECONDS</translation>
    </message>
    <message>
        <source>die Bilder einer Kamera (z. B. /dev/video0) SEKUNDEN lang unverändert als MJPEG-Strom in DATEI schreiben, für den Support; abspielen mit OSTREL_VIRTUAL_STREAMS</source>
        <translation>write a camera&apos;s pictures (e.g. /dev/video0) unchanged as an MJPEG stream to FILE for SECONDS, for support; play it back with OSTREL_VIRTUAL_STREAMS</translation>
    </message>
    <message>
        <source>virtuelle Kameras spielen statt ihrer Szene MJPEG-Dateien ab, z. B. „ostrel-virtual-camera-1=wide.mjpeg;ostrel-virtual-camera-2=macro.mjpeg“</source>
        <translation>virtual cameras play MJPEG files instead of their scene, e.g. &quot;ostrel-virtual-camera-1=wide.mjpeg;ostrel-virtual-camera-2=macro.mjpeg&quot;</translation>
    </message>
    <message>
        <source>Aufruf: ostrel --save-camera-stream GERÄT DATEI SEKUNDEN (Sekunden von 0,1 bis 3600)</source>
        <translation>Usage: ostrel --save-camera-stream DEVICE FILE SECONDS (seconds from 0.1 to 3600)</translation>
    </message>
    <message>
        <source>%1 Bilder (%2 MB) in %3 geschrieben</source>
        <translation>%1 pictures (%2 MB) written to %3</translation>
    </message>
    <message>
        <source>Unbekannte Option: %1</source>
        <translation>Unknown option: %1</translation>
    </message>
</context>
<context>
    <name>ContentView</name>
    <message>
        <source>Aufnahmeordner nicht gefunden</source>
        <translation>Recording folder not found</translation>
    </message>
    <message>
        <source>Der gewählte Aufnahmeordner ist nicht erreichbar — vermutlich wurde eine externe Festplatte entfernt. Bitte einen neuen Ordner wählen, sonst können Aufnahmen nicht gespeichert werden.</source>
        <translation>The chosen recording folder cannot be reached — an external drive was probably removed. Please choose a new folder, otherwise recordings cannot be saved.</translation>
    </message>
    <message>
        <source>Ordner wählen…</source>
        <translation>Choose folder…</translation>
    </message>
    <message>
        <source>Abbrechen</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>Hinweis</source>
        <translation>Notice</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Kein Dateimanager gefunden</source>
        <translation>No file manager found</translation>
    </message>
    <message>
        <source>Die Datei liegt in %1</source>
        <translation>The file is in %1</translation>
    </message>
</context>
<context>
    <name>CornerOverlays</name>
    <message>
        <source>Klicken, um die Datei im Dateimanager zu zeigen</source>
        <translation>Click to show the file in the file manager</translation>
    </message>
</context>
<context>
    <name>DeveloperControls</name>
    <message>
        <source>Kamera-FPS anzeigen</source>
        <translation>Show camera FPS</translation>
    </message>
    <message>
        <source>Stabilisierungs-Regler einblenden</source>
        <translation>Show stabilisation sliders</translation>
    </message>
    <message>
        <source>Stabilisierungs-Rahmen zeigen</source>
        <translation>Show stabilisation frame</translation>
    </message>
    <message>
        <source>Stabilisierungs-Diagnose loggen</source>
        <translation>Log stabilisation diagnostics</translation>
    </message>
</context>
<context>
    <name>DiagnosticsActions</name>
    <message>
        <source>Kein gültiger Speicherort.</source>
        <translation>Not a valid location.</translation>
    </message>
    <message>
        <source>Das Protokoll konnte nicht gespeichert werden: %1</source>
        <translation>The log could not be saved: %1</translation>
    </message>
</context>
<context>
    <name>DiagnosticsView</name>
    <message>
        <source>Protokoll (%1) — neueste zuerst</source>
        <translation>Log (%1) — newest first</translation>
    </message>
    <message>
        <source>Alle</source>
        <translation>All</translation>
    </message>
    <message>
        <source>Diagnose</source>
        <translation>Diagnostics</translation>
    </message>
    <message>
        <source>Kopieren</source>
        <translation>Copy</translation>
    </message>
    <message>
        <source>Teilen…</source>
        <translation>Share…</translation>
    </message>
    <message>
        <source>Protokoll leeren</source>
        <translation>Clear log</translation>
    </message>
    <message>
        <source>Textdateien (*.txt)</source>
        <translation>Text files (*.txt)</translation>
    </message>
    <message>
        <source>Bild bleibt schwarz?</source>
        <translation>Picture stays black?</translation>
    </message>
    <message>
        <source>Kein Zugriff auf die Kamera</source>
        <translation>No access to the camera</translation>
    </message>
    <message>
        <source>Kamera belegt</source>
        <translation>Camera in use</translation>
    </message>
    <message>
        <source>Ein anderes Programm (z. B. Videokonferenz, Browser oder Kamera-App) nutzt die Kamera. Dieses Programm beenden und OSTREL neu starten.</source>
        <translation>Another program (e.g. a video call, a browser or a camera app) is using the camera. Quit that program and restart OSTREL.</translation>
    </message>
    <message>
        <source>Kamera nicht gefunden</source>
        <translation>Camera not found</translation>
    </message>
    <message>
        <source>Kabel prüfen und beide Kameras neu anstecken. Welche Kamera betroffen ist, steht unten im Protokoll.</source>
        <translation>Check the cable and plug both cameras in again. The log below says which camera is affected.</translation>
    </message>
    <message>
        <source>Befehl kopieren</source>
        <translation>Copy command</translation>
    </message>
    <message>
        <source>Filter</source>
        <translation>Filter</translation>
    </message>
    <message>
        <source>Keine Einträge.</source>
        <translation>No entries.</translation>
    </message>
    <message>
        <source>Kopiert</source>
        <translation>Copied</translation>
    </message>
    <message>
        <source>Protokoll als Textdatei speichern</source>
        <translation>Save Log as Text File</translation>
    </message>
    <message>
        <source>Speichern</source>
        <translation>Save</translation>
    </message>
    <message>
        <source>Gespeichert: %1</source>
        <translation>Saved: %1</translation>
    </message>
    <message>
        <source>Berechtigungen</source>
        <translation>Permissions</translation>
    </message>
    <message>
        <source>Systemeinstellungen → Datenschutz öffnen</source>
        <translation>Open Settings → Privacy</translation>
    </message>
    <message>
        <source>Dort lassen sich Kamera- und Mikrofon-Berechtigungen für OSTREL prüfen, falls das Bild schwarz bleibt.</source>
        <translation>There you can check OSTREL’s camera and microphone permissions if the picture stays black.</translation>
    </message>
    <message>
        <source>Möglicherweise gehört dein Benutzer nicht zur Gruppe „video“. Das prüft im Terminal der Befehl „groups“; fehlt „video“ dort, „%1“ eingeben, danach ab- und wieder anmelden.</source>
        <translation>Your user may not be in the group “video”. The command “groups” in a terminal shows it; if “video” is missing there, enter “%1”, then log out and back in.</translation>
    </message>
    <message>
        <source>FEHLER</source>
        <translation>ERROR</translation>
    </message>
</context>
<context>
    <name>DiagnosticsWindow</name>
    <message>
        <source>Diagnose</source>
        <translation>Diagnostics</translation>
    </message>
</context>
<context>
    <name>FolderPaths</name>
    <message>
        <source>Kein gültiger Ordner.</source>
        <translation>Not a valid folder.</translation>
    </message>
    <message>
        <source>„%1“ ist eine Datei, kein Ordner.</source>
        <translation>“%1” is a file, not a folder.</translation>
    </message>
    <message>
        <source>Der Ordner „%1“ konnte nicht angelegt werden.</source>
        <translation>The folder “%1” could not be created.</translation>
    </message>
</context>
<context>
    <name>GeneralSettings</name>
    <message>
        <source>Darstellung</source>
        <translation>Appearance</translation>
    </message>
    <message>
        <source>Sprache: OSTREL folgt der Sprache deines Desktops (Deutsch/Englisch). Ändern in den Einstellungen des Desktops unter „Region und Sprache“ (GNOME) bzw. „Regionaleinstellungen → Sprache“ (KDE); gilt ab der nächsten Anmeldung.</source>
        <translation>Language: OSTREL follows the language of your desktop (German/English). Change it in the desktop&apos;s settings under “Region &amp; Language” (GNOME) or “Regional Settings → Language” (KDE); it takes effect at your next login.</translation>
    </message>
    <message>
        <source>Erscheinungsbild</source>
        <translation>Appearance</translation>
    </message>
    <message>
        <source>Wasserzeichen</source>
        <translation>Watermark</translation>
    </message>
    <message>
        <source>Praxis-Wasserzeichen einblenden</source>
        <translation>Show practice watermark</translation>
    </message>
    <message>
        <source>Praxisname</source>
        <translation>Practice name</translation>
    </message>
    <message>
        <source>Tastenkürzel</source>
        <translation>Keyboard shortcuts</translation>
    </message>
</context>
<context>
    <name>HelpSettings</name>
    <message>
        <source>Hilfe</source>
        <translation>Help</translation>
    </message>
    <message>
        <source>Support kontaktieren</source>
        <translation>Contact support</translation>
    </message>
    <message>
        <source>Nur im Notfall — das Fehlerprotokoll hilft dem Support, falls etwas klemmt.</source>
        <translation>Only in an emergency — the error log helps support if something is stuck.</translation>
    </message>
    <message>
        <source>Diagnose / Fehlerprotokoll öffnen…</source>
        <translation>Open diagnostics / error log…</translation>
    </message>
</context>
<context>
    <name>HotkeyList</name>
    <message>
        <source>Strg</source>
        <translation>Ctrl</translation>
    </message>
    <message>
        <source>Foto aufnehmen</source>
        <translation>Take photo</translation>
    </message>
    <message>
        <source>Leertaste</source>
        <translation>Space</translation>
    </message>
    <message>
        <source>Aufnahme starten / stoppen</source>
        <translation>Start / stop recording</translation>
    </message>
    <message>
        <source>Wide- und Macro-Kamera tauschen</source>
        <translation>Swap Wide and Macro camera</translation>
    </message>
    <message>
        <source>Mikrofon stummschalten</source>
        <translation>Mute microphone</translation>
    </message>
    <message>
        <source>Makro-Größe 10–70 %</source>
        <translation>Macro size 10–70 %</translation>
    </message>
    <message>
        <source>Makro-Größe feiner anpassen</source>
        <translation>Fine-tune macro size</translation>
    </message>
    <message>
        <source>Einstellungen öffnen</source>
        <translation>Open settings</translation>
    </message>
    <message>
        <source>Aufnahmeordner im Dateimanager öffnen</source>
        <translation>Open recording folder in the file manager</translation>
    </message>
    <message>
        <source>Bildstabilisierung ein / aus</source>
        <translation>Image stabilisation on / off</translation>
    </message>
    <message>
        <source>Vollbild ein / aus</source>
        <translation>Full screen on / off</translation>
    </message>
</context>
<context>
    <name>Main</name>
    <message>
        <source>Über OSTREL</source>
        <translation>About OSTREL</translation>
    </message>
    <message>
        <source>Einstellungen…</source>
        <translation>Settings…</translation>
    </message>
    <message>
        <source>OSTREL beenden</source>
        <translation>Quit OSTREL</translation>
    </message>
    <message>
        <source>Datei</source>
        <translation>File</translation>
    </message>
    <message>
        <source>Aufnahmeordner öffnen</source>
        <translation>Open Recording Folder</translation>
    </message>
    <message>
        <source>Aufnahme</source>
        <translation>Recording</translation>
    </message>
    <message>
        <source>Aufnahme starten / stoppen</source>
        <translation>Start / Stop Recording</translation>
    </message>
    <message>
        <source>Foto aufnehmen</source>
        <translation>Take Photo</translation>
    </message>
    <message>
        <source>Makro vergrößern</source>
        <translation>Larger Macro</translation>
    </message>
    <message>
        <source>Makro verkleinern</source>
        <translation>Smaller Macro</translation>
    </message>
    <message>
        <source>Hilfe</source>
        <translation>Help</translation>
    </message>
    <message>
        <source>Support kontaktieren (E-Mail)</source>
        <translation>Contact Support (E-Mail)</translation>
    </message>
    <message>
        <source>OSTREL im Web öffnen</source>
        <translation>Open OSTREL on the Web</translation>
    </message>
    <message>
        <source>Diagnose</source>
        <translation>Diagnostics</translation>
    </message>
</context>
<context>
    <name>MainViewState</name>
    <message>
        <source>Korrektur  x %1%  y %2%</source>
        <translation>Correction  x %1%  y %2%</translation>
    </message>
    <message>
        <source>Während der Aufnahme nicht möglich</source>
        <translation>Not possible during a recording</translation>
    </message>
    <message>
        <source>Der Kamerawechsel folgt, sobald die Aufnahme endet.</source>
        <translation>The cameras change as soon as the recording ends.</translation>
    </message>
    <message>
        <source>Aufnahme gespeichert</source>
        <translation>Recording saved</translation>
    </message>
    <message>
        <source>Foto gespeichert</source>
        <translation>Photo saved</translation>
    </message>
    <message>
        <source>%1 Fotos gespeichert</source>
        <translation>%1 photos saved</translation>
    </message>
</context>
<context>
    <name>OnboardingCameras</name>
    <message>
        <source>Kameras zuordnen</source>
        <translation>Assign cameras</translation>
    </message>
    <message>
        <source>Welche Kamera ist Wide (Übersicht), welche Macro (Nahaufnahme)? Das Vorschaubild hilft beim Unterscheiden — die beiden USB-Kameras heißen gleich.</source>
        <translation>Which camera is Wide (overview), which is Macro (close-up)? The preview helps to tell them apart — both USB cameras have the same name.</translation>
    </message>
    <message>
        <source>Es ist noch keine zweite Kamera angeschlossen.</source>
        <translation>No second camera is connected yet.</translation>
    </message>
    <message>
        <source>Bitte beide OSTREL-Kameras mit dem mitgelieferten Kabel anstecken. Die Liste aktualisiert sich automatisch.</source>
        <translation>Please plug in both OSTREL cameras with the supplied cable. The list updates automatically.</translation>
    </message>
    <message>
        <source>Wide (Übersicht)</source>
        <translation>Wide (overview)</translation>
    </message>
    <message>
        <source>Macro (Nahaufnahme)</source>
        <translation>Macro (close-up)</translation>
    </message>
    <message>
        <source>Bitte zwei verschiedene Kameras wählen.</source>
        <translation>Please choose two different cameras.</translation>
    </message>
</context>
<context>
    <name>OnboardingController</name>
    <message>
        <source>Los geht&apos;s</source>
        <translation>Let&apos;s go</translation>
    </message>
    <message>
        <source>Einrichtung abschließen</source>
        <translation>Finish setup</translation>
    </message>
    <message>
        <source>Weiter</source>
        <translation>Continue</translation>
    </message>
    <message>
        <source>Kein Ton</source>
        <translation>No sound</translation>
    </message>
</context>
<context>
    <name>OnboardingFolder</name>
    <message>
        <source>Aufnahmeordner wählen</source>
        <translation>Choose recording folder</translation>
    </message>
    <message>
        <source>Hier speichert OSTREL Videos und Fotos. Du kannst den Ordner später in den Einstellungen ändern.</source>
        <translation>OSTREL saves videos and photos here. You can change the folder later in the settings.</translation>
    </message>
    <message>
        <source>Ordner wählen…</source>
        <translation>Choose folder…</translation>
    </message>
    <message>
        <source>Vorschlag: „%1“ in deinem Videos-Ordner.</source>
        <translation>Suggestion: “%1” in your Videos folder.</translation>
    </message>
</context>
<context>
    <name>OnboardingMic</name>
    <message>
        <source>Mikrofon wählen</source>
        <translation>Choose microphone</translation>
    </message>
    <message>
        <source>Womit soll der Ton aufgenommen werden? Du kannst auch ohne Ton aufnehmen.</source>
        <translation>What should record the sound? You can also record without sound.</translation>
    </message>
    <message>
        <source>Mikrofon</source>
        <translation>Microphone</translation>
    </message>
    <message>
        <source>Kein Ton</source>
        <translation>No sound</translation>
    </message>
    <message>
        <source>Standard ist „Kein Ton“. Ein angeschlossenes USB-Mikrofon erscheint hier zur Auswahl.</source>
        <translation>The default is “No sound”. A connected USB microphone appears here to choose.</translation>
    </message>
</context>
<context>
    <name>OnboardingSummary</name>
    <message>
        <source>Fertig</source>
        <translation>Done</translation>
    </message>
    <message>
        <source>Alles eingerichtet. Du kannst jeden Punkt später in den Einstellungen ändern.</source>
        <translation>All set. You can change each item later in the settings.</translation>
    </message>
    <message>
        <source>Aufnahmeordner</source>
        <translation>Recording folder</translation>
    </message>
    <message>
        <source>Wide-Kamera</source>
        <translation>Wide camera</translation>
    </message>
    <message>
        <source>Macro-Kamera</source>
        <translation>Macro camera</translation>
    </message>
    <message>
        <source>Mikrofon</source>
        <translation>Microphone</translation>
    </message>
    <message>
        <source>Praxis-Wasserzeichen einblenden</source>
        <translation>Show practice watermark</translation>
    </message>
    <message>
        <source>Praxisname</source>
        <translation>Practice name</translation>
    </message>
    <message>
        <source>Dieser Name wird in jede Aufnahme und jedes Foto eingebrannt.</source>
        <translation>This name is burnt into every recording and every photo.</translation>
    </message>
</context>
<context>
    <name>OnboardingView</name>
    <message>
        <source>Zurück</source>
        <translation>Back</translation>
    </message>
    <message>
        <source>Kameras anschließen</source>
        <translation>Connect the cameras</translation>
    </message>
    <message>
        <source>Schließe beide OSTREL-Kameras mit dem mitgelieferten Kabel an deinen Computer an. Der USB-Hub ist fest in der Kamera verbaut — du brauchst keinen zusätzlichen Hub. Wenn du den USB-Anschluss am Computer wechselst, ordne die Kameras danach kurz neu zu (Einstellungen → Kameras oder „Einrichtung erneut durchführen“).</source>
        <translation>Connect both OSTREL cameras to your computer with the supplied cable. The USB hub is built into the camera — you don&apos;t need an extra hub. If you change the USB port on the computer, quickly reassign the cameras afterwards (Settings → Cameras or “Run setup again”).</translation>
    </message>
    <message>
        <source>Kamera am Kopfband ausrichten</source>
        <translation>Align the camera on the headband</translation>
    </message>
    <message>
        <source>Richte die Kamera mit dem Kopfband so aus, dass sie möglichst nah an den Okularen deiner Lupenbrille sitzt und möglichst parallel dazu zeigt. So erhältst du die beste Perspektive aus Sicht des Behandlers (POV).</source>
        <translation>Align the camera with the headband so that it sits as close as possible to the eyepieces of your loupes and points as parallel to them as possible. This gives you the best perspective from the clinician&apos;s point of view (POV).</translation>
    </message>
    <message>
        <source>Fokus einstellen</source>
        <translation>Adjust the focus</translation>
    </message>
    <message>
        <source>Der Fokus kann sich verstellen — du justierst ihn direkt an den Linsen.</source>
        <translation>The focus can shift — you adjust it directly at the lenses.</translation>
    </message>
    <message>
        <source>Untere Makro-Linse: leicht nach links oder rechts drehen, bis das Bild auf deinen individuellen Arbeitsabstand scharf ist. Stelle das am besten an einem Patienten am Stuhl in echter Arbeitsposition ein — im Stehen oder frei im Raum ist der Abstand oft ein anderer.</source>
        <translation>Lower macro lens: turn it slightly left or right until the picture is sharp at your own working distance. Best set it on a patient in the chair in your real working position — standing or in free space the distance is often different.</translation>
    </message>
    <message>
        <source>Obere Makro-Linse: ebenfalls drehen, bis das Bild scharf ist, und dann mit der kleinen Klemmschraube gegen das Kameragehäuse feststellen, damit sie sich nicht wieder verstellt.</source>
        <translation>Upper macro lens: also turn it until the picture is sharp, then lock it against the camera housing with the small clamping screw so that it does not shift again.</translation>
    </message>
    <message>
        <source>Kabel verlegen</source>
        <translation>Route the cable</translation>
    </message>
    <message>
        <source>Fädle das USB-Kabel durch den Verstellarm am Kopfband und anschließend hinten durch die Schlaufe der Gummi-Verstellung des Kopfbands. Befestige zum Schluss den Clip an deiner Kleidung — so stört das Kabel beim Behandeln nicht.</source>
        <translation>Thread the USB cable through the adjustment arm on the headband and then, at the back, through the loop of the headband&apos;s rubber adjuster. Finally fasten the clip to your clothing — so the cable does not get in the way while treating.</translation>
    </message>
    <message>
        <source>So bedienst du OSTREL</source>
        <translation>How to use OSTREL</translation>
    </message>
    <message>
        <source>Das Wide-Bild füllt das Fenster, die Macro-Kamera liegt als Bild-im-Bild unten. Unten sind Foto- und Aufnahme-Knopf, der Mikrofon-Pegel und der Regler für die Macro-Größe; oben rechts Auflösung, freier Speicher und das Zahnrad für die Einstellungen.</source>
        <translation>The Wide picture fills the window, the Macro camera sits as picture-in-picture at the bottom. At the bottom are the photo and record buttons, the microphone level and the slider for the Macro size; at the top right the resolution, free storage and the gear for the settings.</translation>
    </message>
</context>
<context>
    <name>OnboardingWelcome</name>
    <message>
        <source>Dein Blick. Deine Perspektive.</source>
        <translation>Your view. Your perspective.</translation>
    </message>
    <message>
        <source>Willkommen. OSTREL zeigt deine beiden Lupen-Kameras (Wide + Macro) live als Bild-im-Bild und nimmt sie auf — direkt auf deinem Computer. Diese kurze Einrichtung erklärt den Aufbau und legt Ordner, Kameras und Mikrofon fest.</source>
        <translation>Welcome. OSTREL shows your two loupe cameras (Wide + Macro) live as picture-in-picture and records them — right on your computer. This short setup explains the assembly and sets the folder, cameras and microphone.</translation>
    </message>
</context>
<context>
    <name>PlaceholderFeed</name>
    <message>
        <source>MACRO (kein Signal)</source>
        <translation>MACRO (no signal)</translation>
    </message>
    <message>
        <source>WIDE (kein Signal)</source>
        <translation>WIDE (no signal)</translation>
    </message>
</context>
<context>
    <name>RecordButton</name>
    <message>
        <source>Aufnahme beenden</source>
        <translation>Stop recording</translation>
    </message>
    <message>
        <source>Aufnahme starten</source>
        <translation>Start recording</translation>
    </message>
</context>
<context>
    <name>RecordingFolderDialog</name>
    <message>
        <source>Wähle den Ordner, in dem OSTREL Aufnahmen und Fotos speichert.</source>
        <translation>Choose the folder in which OSTREL saves recordings and photos.</translation>
    </message>
    <message>
        <source>Auswählen</source>
        <translation>Choose</translation>
    </message>
    <message>
        <source>Bitte einen vollständigen Pfad eingeben, z. B. ~/Videos.</source>
        <translation>Please enter a full path, e.g. ~/Videos.</translation>
    </message>
    <message>
        <source>Dieser Ordner kann nicht verwendet werden.</source>
        <translation>This folder cannot be used.</translation>
    </message>
    <message>
        <source>Bitte einen Namen ohne „/“ eingeben.</source>
        <translation>Please enter a name without “/”.</translation>
    </message>
    <message>
        <source>Übergeordneter Ordner</source>
        <translation>Parent folder</translation>
    </message>
    <message>
        <source>Keine Unterordner.</source>
        <translation>No subfolders.</translation>
    </message>
    <message>
        <source>Anlegen</source>
        <translation>Create</translation>
    </message>
    <message>
        <source>Neuer Ordner…</source>
        <translation>New Folder…</translation>
    </message>
    <message>
        <source>Abbrechen</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>Ordner anlegen?</source>
        <translation>Create folder?</translation>
    </message>
    <message>
        <source>Den Ordner „%1“ gibt es noch nicht. Soll OSTREL ihn anlegen?</source>
        <translation>The folder “%1” does not exist yet. Should OSTREL create it?</translation>
    </message>
</context>
<context>
    <name>RecordingSettings</name>
    <message>
        <source>Auflösung</source>
        <translation>Resolution</translation>
    </message>
    <message>
        <source>Full HD (1920 × 1080)</source>
        <translation>Full HD (1920 × 1080)</translation>
    </message>
    <message>
        <source>Aufnahmeordner</source>
        <translation>Recording folder</translation>
    </message>
    <message>
        <source>Ordner</source>
        <translation>Folder</translation>
    </message>
    <message>
        <source>— nicht gesetzt —</source>
        <translation>— not set —</translation>
    </message>
    <message>
        <source>Ordner ändern…</source>
        <translation>Change folder…</translation>
    </message>
    <message>
        <source>Im Dateimanager öffnen</source>
        <translation>Show in file manager</translation>
    </message>
</context>
<context>
    <name>RecordingsStore</name>
    <message>
        <source>OSTREL Aufnahmen</source>
        <translation>OSTREL Recordings</translation>
    </message>
</context>
<context>
    <name>RunningInstance</name>
    <message>
        <source>keine D-Bus-Sitzung (%1)</source>
        <translation>no D-Bus session (%1)</translation>
    </message>
    <message>
        <source>keine Antwort auf dem Sitzungsbus (%1)</source>
        <translation>no answer on the session bus (%1)</translation>
    </message>
    <message>
        <source>OSTREL läuft bereits. Sein Fenster konnte nicht nach vorne geholt werden: %1</source>
        <translation>OSTREL is already running. Its window could not be brought to the front: %1</translation>
    </message>
</context>
<context>
    <name>SettingsController</name>
    <message>
        <source>Stärke</source>
        <translation>Strength</translation>
    </message>
    <message>
        <source>Glättung</source>
        <translation>Smoothing</translation>
    </message>
    <message>
        <source>Crop</source>
        <translation>Crop</translation>
    </message>
    <message>
        <source>Vorhersage</source>
        <translation>Prediction</translation>
    </message>
</context>
<context>
    <name>SettingsView</name>
    <message>
        <source>Allgemein</source>
        <translation>General</translation>
    </message>
    <message>
        <source>Aufnahme</source>
        <translation>Recording</translation>
    </message>
    <message>
        <source>Kameras</source>
        <translation>Cameras</translation>
    </message>
    <message>
        <source>Ton</source>
        <translation>Sound</translation>
    </message>
    <message>
        <source>Hilfe &amp; Info</source>
        <translation>Help &amp; Info</translation>
    </message>
</context>
<context>
    <name>SettingsWindow</name>
    <message>
        <source>Einstellungen</source>
        <translation>Settings</translation>
    </message>
</context>
<context>
    <name>SnapshotButton</name>
    <message>
        <source>Foto</source>
        <translation>Photo</translation>
    </message>
</context>
<context>
    <name>StabilizerOverlay</name>
    <message>
        <source>STABILISIERUNG</source>
        <translation>STABILISATION</translation>
    </message>
    <message>
        <source>Auf Standard zurücksetzen</source>
        <translation>Reset to defaults</translation>
    </message>
</context>
<context>
    <name>StabilizerTuningControls</name>
    <message>
        <source>Stabilisierung auf Standard zurücksetzen</source>
        <translation>Reset stabilisation to defaults</translation>
    </message>
</context>
<context>
    <name>StorageBudget</name>
    <message>
        <source>%1 · %2 frei</source>
        <translation>%1 · %2 free</translation>
    </message>
    <message>
        <source>≈ %1 Std</source>
        <translation>≈ %1 h</translation>
    </message>
    <message>
        <source>≈ %1 Std %2 Min</source>
        <translation>≈ %1 h %2 min</translation>
    </message>
    <message>
        <source>≈ %1 Min</source>
        <translation>≈ %1 min</translation>
    </message>
</context>
<context>
    <name>TopBar</name>
    <message>
        <source>Kameras neu starten</source>
        <translation>Restart cameras</translation>
    </message>
    <message>
        <source>Full HD</source>
        <translation>Full HD</translation>
    </message>
    <message>
        <source>Einstellungen</source>
        <translation>Settings</translation>
    </message>
    <message>
        <source>Aufnahme</source>
        <translation>Recording</translation>
    </message>
</context>
</TS>
