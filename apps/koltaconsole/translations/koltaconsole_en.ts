<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_GB">
<context>
    <name>BranchMessages</name>
    <message numerus="yes">
        <source>(%n bytes)</source>
        <translation>
            <numerusform>(%n byte)</numerusform>
            <numerusform>(%n bytes)</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1, and %n more change(s)</source>
        <translation>
            <numerusform>%1, and %n more change</numerusform>
            <numerusform>%1, and %n more changes</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>Kolta::InstallationEvents</name>
    <message numerus="yes">
        <source>has vanished; %n productions ran there</source>
        <translation>
            <numerusform>has vanished; %n production ran there</numerusform>
            <numerusform>has vanished; %n productions ran there</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>Kolta::ServerModel</name>
    <message numerus="yes">
        <source>%n start-up error(s): %1</source>
        <translation>
            <numerusform>%n start-up error: %1</numerusform>
            <numerusform>%n start-up errors: %1</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>KoltaConsole::CandidatesTable</name>
    <message numerus="yes">
        <source>%1 is away</source>
        <translation>
            <numerusform>%1 is away</numerusform>
            <numerusform>%1 are away</numerusform>
        </translation>
    </message>
</context>
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
    <name>KoltaConsole::LinkMessages</name>
    <message numerus="yes">
        <source>The link is no more; %n message(s) were read until %1.</source>
        <translation>
            <numerusform>The link is no more; %n message was read until %1.</numerusform>
            <numerusform>The link is no more; %n messages were read until %1.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n message(s), at most %1 are kept; read since %2</source>
        <translation>
            <numerusform>%n message, at most %1 are kept; read since %2</numerusform>
            <numerusform>%n messages, at most %1 are kept; read since %2</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n message(s); not read since %1</source>
        <translation>
            <numerusform>%n message; not read since %1</numerusform>
            <numerusform>%n messages; not read since %1</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>KoltaConsole::MainWindow</name>
    <message numerus="yes">
        <source>and %n more line(s)</source>
        <translation>
            <numerusform>and %n more line</numerusform>
            <numerusform>and %n more lines</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>KoltaConsole::LinkTraffic</name>
    <message numerus="yes">
        <source>%n more part(s)</source>
        <translation>
            <numerusform>%n more part</numerusform>
            <numerusform>%n more parts</numerusform>
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
<context>
    <name>KoltaConsole::AssignmentsView</name>
    <message numerus="yes">
        <source>Send %n change(s)</source>
        <translation>
            <numerusform>Send %n change</numerusform>
            <numerusform>Send %n changes</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n FFP(s)</source>
        <translation>
            <numerusform>%n FFP</numerusform>
            <numerusform>%n FFPs</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n profile(s)</source>
        <translation>
            <numerusform>%n profile</numerusform>
            <numerusform>%n profiles</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n change(s) not sent</source>
        <translation>
            <numerusform>%n change not sent</numerusform>
            <numerusform>%n changes not sent</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ProfileImportView</name>
    <message numerus="yes">
        <source>%n profile(s) of %1 imported</source>
        <translation>
            <numerusform>%n profile of %1 imported</numerusform>
            <numerusform>%n profiles of %1 imported</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ProfilesView</name>
    <message numerus="yes">
        <source>%n profile(s)</source>
        <translation>
            <numerusform>%n profile</numerusform>
            <numerusform>%n profiles</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>in use by %n FFP(s)</source>
        <translation>
            <numerusform>in use by %n FFP</numerusform>
            <numerusform>in use by %n FFPs</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1 of %n profile(s)</source>
        <translation>
            <numerusform>%1 of %n profile</numerusform>
            <numerusform>%1 of %n profiles</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ConversionsView</name>
    <message numerus="yes">
        <source>%n result(s) of conversions erased on %1</source>
        <translation>
            <numerusform>%n result of conversions erased on %1</numerusform>
            <numerusform>%n results of conversions erased on %1</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n conversion(s), %1</source>
        <translation>
            <numerusform>%n conversion, %1</numerusform>
            <numerusform>%n conversions, %1</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>KoltaConsole::MainWindow</name>
    <message numerus="yes">
        <source>%1   (and %n more)</source>
        <translation>
            <numerusform>%1   (and %n more)</numerusform>
            <numerusform>%1   (and %n more)</numerusform>
        </translation>
    </message>
</context>
</TS>
