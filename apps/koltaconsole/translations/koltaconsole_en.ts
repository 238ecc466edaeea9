<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_GB">
<context>
    <name>KoltaConsole::Cart</name>
    <message numerus="yes">
        <source>Cart: %n order(s), total cost %1</source>
        <translation>
            <numerusform>Cart: %n order, total cost %1</numerusform>
            <numerusform>Cart: %n orders, total cost %1</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>, %n conflict(s)</source>
        <translation>
            <numerusform>, %n conflict</numerusform>
            <numerusform>, %n conflicts</numerusform>
        </translation>
    </message>
</context>
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
<context>
    <name>KoltaConsole::TunersPage</name>
    <message numerus="yes">
        <source>%Ln tuner(s)</source>
        <translation>
            <numerusform>%Ln tuner</numerusform>
            <numerusform>%Ln tuners</numerusform>
        </translation>
    </message>
</context>
</TS>
