<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_GB">
<context>
    <name>KoltaConsole::ServerCards</name>
    <message numerus="yes">
        <source>%n production(s)</source>
        <translation>
            <numerusform>%n production</numerusform>
            <numerusform>%n productions</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>KoltaConsole::TopBar</name>
    <message numerus="yes">
        <source>%n need(s) attention</source>
        <translation>
            <numerusform>%n needs attention</numerusform>
            <numerusform>%n need attention</numerusform>
        </translation>
    </message>
</context>
</TS>
