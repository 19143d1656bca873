<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="de">
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
    <name>Main</name>
    <message>
        <source>Dein Blick. Deine Perspektive.</source>
        <translation>Your view. Your perspective.</translation>
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
        <source>Protokoll teilen</source>
        <translation>Share log</translation>
    </message>
    <message>
        <source>Textdateien (*.txt)</source>
        <translation>Text files (*.txt)</translation>
    </message>
    <message>
        <source>Berechtigungen</source>
        <translation>Permissions</translation>
    </message>
    <message>
        <source>Systemeinstellungen → Datenschutz öffnen</source>
        <translation>Open System Settings → Privacy</translation>
    </message>
    <message>
        <source>Dort lassen sich Kamera- und Mikrofon-Berechtigungen für OSTREL prüfen, falls das Bild schwarz bleibt.</source>
        <translation>There you can check the camera and microphone permissions for OSTREL if the picture stays black.</translation>
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
</context>
<context>
    <name>DiagnosticsWindow</name>
    <message>
        <source>Diagnose</source>
        <translation>Diagnostics</translation>
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
        <source>Aufnahmeordner im Finder öffnen</source>
        <translation>Open recording folder in the file manager</translation>
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
</TS>
