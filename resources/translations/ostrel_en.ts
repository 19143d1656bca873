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
</TS>
