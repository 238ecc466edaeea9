<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>Application</name>
    <message>
        <source>the console: %1</source>
        <translation>die Konsole: %1</translation>
    </message>
</context>
<context>
    <name>Confirmation</name>
    <message>
        <source>and %1 more</source>
        <translation>und %1 weitere</translation>
    </message>
</context>
<context>
    <name>Hints</name>
    <message>
        <source>Ctrl+K finds every action and completes lines of kolta.
/ filters the page by words that must all fit, such as HF free.
F1 shows the keys of the page.</source>
        <translation>Strg+K findet jede Aktion und ergänzt Zeilen von kolta.
/ filtert die Seite nach Wörtern, die alle passen müssen, etwa HF frei.
F1 zeigt die Tasten der Seite.</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>The hints do not come back</source>
        <translation>Die Hinweise kommen nicht wieder</translation>
    </message>
</context>
<context>
    <name>Kolta::AbstractItemMapModel</name>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
</context>
<context>
    <name>Kolta::CandidatesModel</name>
    <message>
        <source>Rank</source>
        <translation>Rang</translation>
    </message>
    <message>
        <source>Tuner</source>
        <translation>Tuner</translation>
    </message>
    <message>
        <source>Cost</source>
        <translation>Kosten</translation>
    </message>
    <message>
        <source>Reaches</source>
        <translation>Reichweite</translation>
    </message>
    <message>
        <source>Bandwidth</source>
        <translation>Bandbreite</translation>
    </message>
    <message>
        <source>Server</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>Reason</source>
        <translation>Grund</translation>
    </message>
</context>
<context>
    <name>Kolta::ConversionJob</name>
    <message>
        <source>the recording has no identifier</source>
        <translation>die Aufzeichnung hat keine Kennung</translation>
    </message>
    <message>
        <source>%1 is being converted already</source>
        <translation>%1 wird schon konvertiert</translation>
    </message>
    <message>
        <source>the entry of %1 was erased</source>
        <translation>der Eintrag von %1 wurde gelöscht</translation>
    </message>
    <message>
        <source>%1 is converted by somebody else</source>
        <translation>%1 konvertiert jemand anderes</translation>
    </message>
    <message>
        <source>the conversion of %1 failed</source>
        <translation>die Konvertierung von %1 ist gescheitert</translation>
    </message>
    <message>
        <source>converting</source>
        <translation>wird konvertiert</translation>
    </message>
</context>
<context>
    <name>Kolta::ConvertProductionResult_TextAdapter</name>
    <message>
        <source>finished</source>
        <translation>fertig</translation>
    </message>
    <message>
        <source>not started</source>
        <translation>nicht begonnen</translation>
    </message>
    <message>
        <source>converting</source>
        <translation>wird konvertiert</translation>
    </message>
    <message>
        <source>failed</source>
        <translation>gescheitert</translation>
    </message>
    <message>
        <source>Record</source>
        <translation>Aufzeichnung</translation>
    </message>
    <message>
        <source>State</source>
        <translation>Zustand</translation>
    </message>
    <message>
        <source>Result</source>
        <translation>Ergebnis</translation>
    </message>
    <message>
        <source>Result type</source>
        <translation>Ergebnisart</translation>
    </message>
    <message>
        <source>Production</source>
        <translation>Produktion</translation>
    </message>
    <message>
        <source>Requested by</source>
        <translation>Verlangt von</translation>
    </message>
    <message>
        <source>Created</source>
        <translation>Angelegt</translation>
    </message>
</context>
<context>
    <name>Kolta::Event</name>
    <message>
        <source>Note</source>
        <translation>Hinweis</translation>
    </message>
    <message>
        <source>Attention</source>
        <translation>Achtung</translation>
    </message>
    <message>
        <source>Alarm</source>
        <translation>Alarm</translation>
    </message>
    <message>
        <source>State</source>
        <translation>Zustand</translation>
    </message>
    <message>
        <source>Message</source>
        <translation>Meldung</translation>
    </message>
    <message>
        <source>Start-up</source>
        <translation>Anlauf</translation>
    </message>
    <message>
        <source>Resource</source>
        <translation>Tuner, Einheit</translation>
    </message>
    <message>
        <source>Processor</source>
        <translation>Prozessor</translation>
    </message>
    <message>
        <source>Production</source>
        <translation>Produktion</translation>
    </message>
    <message>
        <source>Hardware</source>
        <translation>Hardware</translation>
    </message>
    <message>
        <source>Ownership</source>
        <translation>Besitz</translation>
    </message>
    <message>
        <source>Link</source>
        <translation>Verbindung</translation>
    </message>
    <message>
        <source>Branch</source>
        <translation>Zweig</translation>
    </message>
    <message>
        <source>Operation</source>
        <translation>Vorgang</translation>
    </message>
    <message>
        <source>User</source>
        <translation>Benutzer</translation>
    </message>
    <message>
        <source>Program</source>
        <translation>Programm</translation>
    </message>
</context>
<context>
    <name>Kolta::EventModel</name>
    <message>
        <source>Time</source>
        <translation>Zeit</translation>
    </message>
    <message>
        <source>Weight</source>
        <translation>Gewicht</translation>
    </message>
    <message>
        <source>Server</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>Kind</source>
        <translation>Art</translation>
    </message>
    <message>
        <source>What happened</source>
        <translation>Was geschah</translation>
    </message>
</context>
<context>
    <name>Kolta::Fault</name>
    <message>
        <source>&lt;No description because of unknown Fault ID: %1&gt;</source>
        <translation>&lt;Keine Beschreibung, da die Fehlerkennung unbekannt ist: %1&gt;</translation>
    </message>
    <message>
        <source>&lt;Invalid fault description received&gt;</source>
        <translation>&lt;Ungültige Fehlerbeschreibung empfangen&gt;</translation>
    </message>
    <message>
        <source>Caused by:</source>
        <translation>Verursacht durch:</translation>
    </message>
</context>
<context>
    <name>Kolta::FrontEndStart</name>
    <message>
        <source>there is no such program</source>
        <translation>ein solches Programm gibt es nicht</translation>
    </message>
</context>
<context>
    <name>Kolta::InstallationEvents</name>
    <message>
        <source>is not followed any longer</source>
        <translation>wird nicht mehr verfolgt</translation>
    </message>
    <message>
        <source>nobody is logged in any more</source>
        <translation>niemand ist mehr angemeldet</translation>
    </message>
    <message>
        <source>%1 has logged in</source>
        <translation>%1 hat sich angemeldet</translation>
    </message>
    <message>
        <source>the user has %1 of %2 rights</source>
        <translation>der Benutzer hat %1 von %2 Rechten</translation>
    </message>
    <message>
        <source>link %1 is up</source>
        <translation>Verbindung %1 steht</translation>
    </message>
    <message>
        <source>link %1 was lost: %2</source>
        <translation>Verbindung %1 ist abgerissen: %2</translation>
    </message>
    <message>
        <source>link %1 was given up: %2</source>
        <translation>Verbindung %1 wurde aufgegeben: %2</translation>
    </message>
    <message>
        <source>tuner %1 is %2</source>
        <translation>Tuner %1 ist %2</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 s</translation>
    </message>
    <message>
        <source>%1 min</source>
        <translation>%1 min</translation>
    </message>
    <message>
        <source>%1 h</source>
        <translation>%1 h</translation>
    </message>
    <message>
        <source>is back</source>
        <translation>ist wieder da</translation>
    </message>
    <message>
        <source>is back after %1</source>
        <translation>ist nach %1 wieder da</translation>
    </message>
    <message>
        <source>says: %1</source>
        <translation>meldet: %1</translation>
    </message>
    <message>
        <source>has appeared</source>
        <translation>ist erschienen</translation>
    </message>
    <message>
        <source>has gone, as it was asked to</source>
        <translation>ist wie verlangt gegangen</translation>
    </message>
    <message>
        <source>has vanished</source>
        <translation>ist verschwunden</translation>
    </message>
    <message>
        <source>has vanished; 1 production ran there</source>
        <translation>ist verschwunden; dort lief 1 Produktion</translation>
    </message>
    <message numerus="yes">
        <source>has vanished; %n productions ran there</source>
        <translation>
            <numerusform>ist verschwunden; dort lief %n Produktion</numerusform>
            <numerusform>ist verschwunden; dort liefen %n Produktionen</numerusform>
        </translation>
    </message>
    <message>
        <source>state %1</source>
        <translation>Zustand %1</translation>
    </message>
    <message>
        <source>errors of its start-up: %1</source>
        <translation>Fehler beim Anlauf: %1</translation>
    </message>
    <message>
        <source>tuner %1 is new</source>
        <translation>Tuner %1 ist neu</translation>
    </message>
    <message>
        <source>tuner %1 has gone</source>
        <translation>Tuner %1 ist fort</translation>
    </message>
    <message>
        <source>tuner %1 is within reach</source>
        <translation>Tuner %1 ist erreichbar</translation>
    </message>
    <message>
        <source>registered</source>
        <translation>angemeldet</translation>
    </message>
    <message>
        <source>not registered</source>
        <translation>nicht angemeldet</translation>
    </message>
    <message>
        <source>processing unit %1 is %2</source>
        <translation>Verarbeitungseinheit %1 ist %2</translation>
    </message>
    <message>
        <source>storage unit %1 is %2</source>
        <translation>Speichereinheit %1 ist %2</translation>
    </message>
    <message>
        <source>%1 and %2 more</source>
        <translation>%1 und %2 weitere</translation>
    </message>
    <message>
        <source>all processors have stopped</source>
        <translation>alle Prozessoren haben angehalten</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 von %2</translation>
    </message>
    <message>
        <source>%1 has started</source>
        <translation>%1 läuft</translation>
    </message>
    <message>
        <source>%1 has changed</source>
        <translation>%1 hat sich geändert</translation>
    </message>
    <message>
        <source>%1 has stopped</source>
        <translation>%1 hat angehalten</translation>
    </message>
    <message>
        <source>%1 was lost with its server</source>
        <translation>%1 ging mit dem Server verloren</translation>
    </message>
    <message>
        <source>still running: %1</source>
        <translation>läuft noch: %1</translation>
    </message>
    <message>
        <source>request for %1</source>
        <translation>Anforderung von %1</translation>
    </message>
    <message>
        <source>%1 is accepted</source>
        <translation>%1 ist angenommen</translation>
    </message>
    <message>
        <source>%1 is refused: %2</source>
        <translation>%1 ist abgelehnt: %2</translation>
    </message>
    <message>
        <source>production of %1 has ended</source>
        <translation>Produktion von %1 ist beendet</translation>
    </message>
    <message>
        <source>hardware processing of %1 has begun</source>
        <translation>Hardware-Verarbeitung von %1 hat begonnen</translation>
    </message>
    <message>
        <source>hardware processing of %1 has ended</source>
        <translation>Hardware-Verarbeitung von %1 ist beendet</translation>
    </message>
    <message>
        <source>%1 at %2</source>
        <translation>%1 auf %2</translation>
    </message>
    <message>
        <source>the server</source>
        <translation>den Server</translation>
    </message>
    <message>
        <source>nobody owns %1 any more</source>
        <translation>niemand besitzt %1 mehr</translation>
    </message>
    <message>
        <source>%1 owns %2</source>
        <translation>%1 besitzt %2</translation>
    </message>
    <message>
        <source>a request</source>
        <translation>Eine Anforderung</translation>
    </message>
    <message>
        <source>has left by itself</source>
        <translation>hat sich abgemeldet</translation>
    </message>
</context>
<context>
    <name>Kolta::ItemMapWithRequests</name>
    <message>
        <source>The outcome of the request is unknown; it may have been granted.</source>
        <translation>Wie die Anfrage ausging, ist unbekannt; sie kann bewilligt worden sein.</translation>
    </message>
</context>
<context>
    <name>Kolta::Journal</name>
    <message>
        <source>%1 s</source>
        <translation>%1 s</translation>
    </message>
    <message>
        <source>%1 min</source>
        <translation>%1 min</translation>
    </message>
    <message>
        <source>%1 (×%2 in %3: flutters)</source>
        <translation>%1 (×%2 in %3: flattert)</translation>
    </message>
</context>
<context>
    <name>Kolta::JournalFile</name>
    <message>
        <source>%1 cannot be read: %2</source>
        <translation>%1 ist nicht lesbar: %2</translation>
    </message>
    <message>
        <source>%1 is no journal</source>
        <translation>%1 ist kein Journal</translation>
    </message>
    <message>
        <source>%1, line %2: %3 lines cannot be read</source>
        <translation>%1, Zeile %2: %3 Zeilen sind nicht lesbar</translation>
    </message>
    <message>
        <source>%1 is written by another process</source>
        <translation>%1 wird von einem anderen Prozess geschrieben</translation>
    </message>
    <message>
        <source>%1 cannot be written: %2</source>
        <translation>%1 kann nicht geschrieben werden: %2</translation>
    </message>
</context>
<context>
    <name>Kolta::KoltaConnection</name>
    <message>
        <source>TLS handshake failed</source>
        <translation>TLS-Aushandlung gescheitert</translation>
    </message>
    <message>
        <source>The reply does not answer the component &quot;%1&quot;</source>
        <translation>Die Antwort gilt nicht der Komponente „%1“</translation>
    </message>
    <message>
        <source>address in use</source>
        <translation>Adresse wird schon benutzt</translation>
    </message>
    <message>
        <source>address not available</source>
        <translation>Adresse nicht verfügbar</translation>
    </message>
    <message>
        <source>closed by the other end</source>
        <translation>von der Gegenseite geschlossen</translation>
    </message>
    <message>
        <source>closed by the proxy</source>
        <translation>vom Proxy geschlossen</translation>
    </message>
    <message>
        <source>connection refused</source>
        <translation>Verbindung abgelehnt</translation>
    </message>
    <message>
        <source>host not found</source>
        <translation>Rechner nicht gefunden</translation>
    </message>
    <message>
        <source>message too large</source>
        <translation>Nachricht zu groß</translation>
    </message>
    <message>
        <source>network failed</source>
        <translation>Netz gestört</translation>
    </message>
    <message>
        <source>no answer in time</source>
        <translation>keine Antwort in der Frist</translation>
    </message>
    <message>
        <source>no answer of the proxy in time</source>
        <translation>keine Antwort des Proxys in der Frist</translation>
    </message>
    <message>
        <source>no permission for the socket</source>
        <translation>keine Berechtigung für den Socket</translation>
    </message>
    <message>
        <source>not supported by this system</source>
        <translation>von diesem System nicht unterstützt</translation>
    </message>
    <message>
        <source>operation not finished</source>
        <translation>Vorgang nicht beendet</translation>
    </message>
    <message>
        <source>proxy not found</source>
        <translation>Proxy nicht gefunden</translation>
    </message>
    <message>
        <source>refused by the proxy</source>
        <translation>vom Proxy abgelehnt</translation>
    </message>
    <message>
        <source>the proxy asks for a login</source>
        <translation>der Proxy verlangt eine Anmeldung</translation>
    </message>
    <message>
        <source>the proxy&apos;s answer cannot be read</source>
        <translation>Antwort des Proxys nicht lesbar</translation>
    </message>
    <message>
        <source>too many sockets</source>
        <translation>zu viele Sockets</translation>
    </message>
</context>
<context>
    <name>Kolta::KoltaProductionControl</name>
    <message>
        <source>Move FFP</source>
        <translation>FFP verschieben</translation>
    </message>
</context>
<context>
    <name>Kolta::KoltaServerInterface</name>
    <message>
        <source>Disconnected</source>
        <translation>Getrennt</translation>
    </message>
</context>
<context>
    <name>Kolta::LinksModel</name>
    <message>
        <source>Messages sent: %1; received: %2</source>
        <translation>Nachrichten gesendet: %1; empfangen: %2</translation>
    </message>
    <message>
        <source>Link</source>
        <translation>Verbindung</translation>
    </message>
    <message>
        <source>State</source>
        <translation>Zustand</translation>
    </message>
    <message>
        <source>The first in the queue has waited for %1 s</source>
        <translation>Die erste in der Schlange wartet seit %1 s</translation>
    </message>
    <message>
        <source>Up since</source>
        <translation>Besteht seit</translation>
    </message>
    <message>
        <source>Round trip</source>
        <translation>Umlaufzeit</translation>
    </message>
    <message>
        <source>Queue</source>
        <translation>Wartend</translation>
    </message>
    <message>
        <source>Reconnections</source>
        <translation>Neuverbindungen</translation>
    </message>
    <message>
        <source>Last fault</source>
        <translation>Letzter Fehler</translation>
    </message>
    <message>
        <source>closed</source>
        <translation>geschlossen</translation>
    </message>
    <message>
        <source>connecting</source>
        <translation>verbindet</translation>
    </message>
    <message>
        <source>up</source>
        <translation>steht</translation>
    </message>
    <message>
        <source>waiting, next try in %1 s</source>
        <translation>wartet, nächster Versuch in %1 s</translation>
    </message>
    <message>
        <source>given up</source>
        <translation>aufgegeben</translation>
    </message>
    <message>
        <source>%1 at %2</source>
        <translation>%1 auf %2</translation>
    </message>
    <message>
        <source>%1 ms</source>
        <translation>%1 ms</translation>
    </message>
    <message>
        <source>Last beat</source>
        <translation>Letztes Zeichen</translation>
    </message>
</context>
<context>
    <name>Kolta::MapOperation</name>
    <message>
        <source>the collection does not exist</source>
        <translation>die Sammlung gibt es nicht</translation>
    </message>
    <message>
        <source>the collection was deleted</source>
        <translation>die Sammlung wurde gelöscht</translation>
    </message>
    <message>
        <source>waiting for the answer</source>
        <translation>wartet auf die Antwort</translation>
    </message>
</context>
<context>
    <name>Kolta::MoveJob</name>
    <message>
        <source>a null GUID names no processor</source>
        <translation>eine leere GUID benennt keinen Prozessor</translation>
    </message>
    <message>
        <source>waiting for the answer of %1</source>
        <translation>wartet auf die Antwort von %1</translation>
    </message>
    <message>
        <source>%1 takes no requests</source>
        <translation>%1 nimmt keine Anforderungen an</translation>
    </message>
    <message>
        <source>%1 refuses: %2</source>
        <translation>%1 lehnt ab: %2</translation>
    </message>
    <message>
        <source>waiting for %1 to return</source>
        <translation>wartet auf die Rückkehr von %1</translation>
    </message>
    <message>
        <source>%1 came back without it</source>
        <translation>%1 kam ohne das zurück</translation>
    </message>
</context>
<context>
    <name>Kolta::Operation</name>
    <message>
        <source>; it may have happened</source>
        <translation>; es kann geschehen sein</translation>
    </message>
    <message>
        <source>cancelled</source>
        <translation>abgebrochen</translation>
    </message>
    <message>
        <source>not done within %1 s</source>
        <translation>nicht innerhalb von %1 s erledigt</translation>
    </message>
</context>
<context>
    <name>Kolta::OrderExplainer</name>
    <message>
        <source>the server is away</source>
        <translation>der Server ist fort</translation>
    </message>
    <message>
        <source>it is fed by the tuner of its MCP</source>
        <translation>es wird vom Tuner seiner MCP gespeist</translation>
    </message>
    <message>
        <source>%1 has no tuner %2</source>
        <translation>%1 hat keinen Tuner %2</translation>
    </message>
</context>
<context>
    <name>Kolta::OwnershipJob</name>
    <message>
        <source>waiting for %1 to show the owner</source>
        <translation>wartet, bis %1 den Besitzer zeigt</translation>
    </message>
    <message>
        <source>%1 takes no requests</source>
        <translation>%1 nimmt keine Anforderungen an</translation>
    </message>
    <message>
        <source>waiting for the ownership, to give it back</source>
        <translation>wartet auf den Besitz, um ihn zurückzugeben</translation>
    </message>
    <message>
        <source>owned by %1 at %2</source>
        <translation>im Besitz von %1 auf %2</translation>
    </message>
</context>
<context>
    <name>Kolta::PowerJob</name>
    <message>
        <source>there is no unit %1</source>
        <translation>eine Einheit %1 gibt es nicht</translation>
    </message>
    <message>
        <source>waiting for %1 to switch</source>
        <translation>wartet, bis %1 schaltet</translation>
    </message>
    <message>
        <source>not switched in time: %1</source>
        <translation>nicht rechtzeitig geschaltet: %1</translation>
    </message>
</context>
<context>
    <name>Kolta::ProcessorModel</name>
    <message>
        <source>Processor</source>
        <translation>Prozessor</translation>
    </message>
    <message>
        <source>Kind</source>
        <translation>Art</translation>
    </message>
    <message>
        <source>Tuner</source>
        <translation>Tuner</translation>
    </message>
    <message>
        <source>Frequency</source>
        <translation>Frequenz</translation>
    </message>
    <message>
        <source>Bandwidth</source>
        <translation>Bandbreite</translation>
    </message>
    <message>
        <source>Demand class</source>
        <translation>Bedarfsklasse</translation>
    </message>
    <message>
        <source>Unit</source>
        <translation>Einheit</translation>
    </message>
    <message>
        <source>Owner</source>
        <translation>Besitzer</translation>
    </message>
    <message>
        <source>Production</source>
        <translation>Produktion</translation>
    </message>
    <message>
        <source>Since</source>
        <translation>Seit</translation>
    </message>
    <message>
        <source>Server</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>operated by %1 at %2</source>
        <translation>bedient von %1 auf %2</translation>
    </message>
</context>
<context>
    <name>Kolta::ProductionJob</name>
    <message>
        <source>there is no tuner %1</source>
        <translation>einen Tuner %1 gibt es nicht</translation>
    </message>
    <message>
        <source>tuner %1 does not fit: %2</source>
        <translation>Tuner %1 passt nicht: %2</translation>
    </message>
    <message>
        <source>tuner %1 is not free</source>
        <translation>Tuner %1 ist nicht frei</translation>
    </message>
    <message>
        <source>tuner %1 is taken: %2</source>
        <translation>Tuner %1 ist vergeben: %2</translation>
    </message>
    <message>
        <source>no tuner of class %1 can be had: %2</source>
        <translation>kein Tuner der Klasse %1 ist zu haben: %2</translation>
    </message>
    <message>
        <source>waiting for the answer of %1</source>
        <translation>wartet auf die Antwort von %1</translation>
    </message>
    <message>
        <source>%1 takes no requests</source>
        <translation>%1 nimmt keine Anforderungen an</translation>
    </message>
    <message>
        <source>%1 refuses: %2</source>
        <translation>%1 lehnt ab: %2</translation>
    </message>
    <message>
        <source>waiting for %1 to show it</source>
        <translation>wartet, bis %1 es zeigt</translation>
    </message>
    <message>
        <source>stopping</source>
        <translation>hält an</translation>
    </message>
    <message>
        <source>%1 ended it before it was seen to run</source>
        <translation>%1 beendete es, bevor es lief</translation>
    </message>
    <message>
        <source>waiting for %1 to return</source>
        <translation>wartet auf die Rückkehr von %1</translation>
    </message>
    <message>
        <source>%1 came back without it</source>
        <translation>%1 kam ohne das zurück</translation>
    </message>
    <message>
        <source>waiting for the answer of %1, to take it back</source>
        <translation>wartet auf die Antwort von %1, um es zurückzunehmen</translation>
    </message>
</context>
<context>
    <name>Kolta::ProductionOrder</name>
    <message>
        <source>frequency and bandwidth must be numbers of at least 0</source>
        <translation>Frequenz und Bandbreite müssen Zahlen ab 0 sein</translation>
    </message>
    <message>
        <source>the record is no %1</source>
        <translation>der Datensatz ist kein %1</translation>
    </message>
    <message>
        <source>an FFP needs an MCP</source>
        <translation>eine FFP braucht eine MCP</translation>
    </message>
    <message>
        <source>neither a tuner nor a tuner class is named</source>
        <translation>weder Tuner noch Tunerklasse sind genannt</translation>
    </message>
    <message>
        <source>no MCP %1 runs</source>
        <translation>es läuft keine MCP %1</translation>
    </message>
</context>
<context>
    <name>Kolta::RequestOperation</name>
    <message>
        <source>the connection was deleted</source>
        <translation>die Verbindung wurde gelöscht</translation>
    </message>
    <message>
        <source>there is nothing to send</source>
        <translation>es gibt nichts zu senden</translation>
    </message>
    <message>
        <source>waiting for the reply</source>
        <translation>wartet auf die Antwort</translation>
    </message>
    <message>
        <source>the connection takes no requests</source>
        <translation>die Verbindung nimmt keine Anfragen an</translation>
    </message>
    <message>
        <source>the connection was closed</source>
        <translation>die Verbindung wurde geschlossen</translation>
    </message>
    <message>
        <source>the link to the server failed</source>
        <translation>die Verbindung zum Server ist abgerissen</translation>
    </message>
    <message>
        <source>the server did not answer in time</source>
        <translation>der Server hat nicht rechtzeitig geantwortet</translation>
    </message>
</context>
<context>
    <name>Kolta::RunningProduction</name>
    <message>
        <source>%1 is away</source>
        <translation>%1 ist fort</translation>
    </message>
    <message>
        <source>it was ended</source>
        <translation>es wurde beendet</translation>
    </message>
    <message>
        <source>its processor has stopped</source>
        <translation>der Prozessor hat angehalten</translation>
    </message>
    <message>
        <source>%1 came back without it</source>
        <translation>%1 kam ohne das zurück</translation>
    </message>
    <message>
        <source>the server is not known any more</source>
        <translation>der Server ist nicht mehr bekannt</translation>
    </message>
</context>
<context>
    <name>Kolta::ServerModel</name>
    <message>
        <source>Server</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>State</source>
        <translation>Zustand</translation>
    </message>
    <message>
        <source>Host</source>
        <translation>Rechner</translation>
    </message>
    <message>
        <source>Free</source>
        <translation>Frei</translation>
    </message>
    <message>
        <source>In use</source>
        <translation>Belegt</translation>
    </message>
    <message>
        <source>Planned here</source>
        <translation>Hier geplant</translation>
    </message>
    <message>
        <source>Out of reach</source>
        <translation>Nicht erreichbar</translation>
    </message>
    <message>
        <source>Tuners</source>
        <translation>Tuner</translation>
    </message>
    <message>
        <source>Running</source>
        <translation>Läuft</translation>
    </message>
    <message>
        <source>Units</source>
        <translation>Einheiten</translation>
    </message>
    <message>
        <source>Progress</source>
        <translation>Fortschritt</translation>
    </message>
    <message>
        <source>Message</source>
        <translation>Meldung</translation>
    </message>
    <message>
        <source>Since</source>
        <translation>Seit</translation>
    </message>
    <message>
        <source>Start-up errors</source>
        <translation>Startfehler</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 von %2</translation>
    </message>
    <message numerus="yes">
        <source>%n start-up error(s): %1</source>
        <translation>
            <numerusform>%n Startfehler: %1</numerusform>
            <numerusform>%n Startfehler: %1</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>Kolta::ServerOperation</name>
    <message>
        <source>%1 is not connected</source>
        <translation>%1 ist nicht verbunden</translation>
    </message>
    <message>
        <source>the server is not known any more</source>
        <translation>der Server ist nicht mehr bekannt</translation>
    </message>
</context>
<context>
    <name>Kolta::ServerTuners</name>
    <message>
        <source>planned here for &apos;%1&apos;</source>
        <translation>hier geplant für „%1“</translation>
    </message>
    <message>
        <source>%1 (production %2)</source>
        <translation>%1 (Produktion %2)</translation>
    </message>
    <message>
        <source>%1, operated by %2 at %3</source>
        <translation>%1, bedient von %2 auf %3</translation>
    </message>
    <message>
        <source>there is no tuner class &quot;%1&quot;; known: %2</source>
        <translation>eine Tunerklasse „%1“ gibt es nicht; bekannt: %2</translation>
    </message>
    <message>
        <source>none</source>
        <translation>keine</translation>
    </message>
</context>
<context>
    <name>Kolta::ShapeCollectionItem_TextAdapter</name>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Class</source>
        <translation>Klasse</translation>
    </message>
    <message>
        <source>Frequency</source>
        <translation>Frequenz</translation>
    </message>
    <message>
        <source>Span</source>
        <translation>Spanne</translation>
    </message>
    <message>
        <source>Tolerance</source>
        <translation>Toleranz</translation>
    </message>
    <message>
        <source>Samples</source>
        <translation>Abtastwerte</translation>
    </message>
    <message>
        <source>Description</source>
        <translation>Beschreibung</translation>
    </message>
</context>
<context>
    <name>Kolta::ShortTimeFFPAssignment_TextAdapter</name>
    <message>
        <source>FFP</source>
        <translation>FFP</translation>
    </message>
    <message>
        <source>Enabled</source>
        <translation>Eingeschaltet</translation>
    </message>
    <message>
        <source>Profiles</source>
        <translation>Profile</translation>
    </message>
    <message>
        <source>Recording</source>
        <translation>Aufzeichnung</translation>
    </message>
    <message>
        <source>Minimum coverage</source>
        <translation>Mindestabdeckung</translation>
    </message>
    <message>
        <source>Radio</source>
        <translation>Funkgerät</translation>
    </message>
    <message>
        <source>Resource</source>
        <translation>Betriebsmittel</translation>
    </message>
</context>
<context>
    <name>Kolta::ShortTimeProfile_ColumnAdapter</name>
    <message>
        <source>unspecified</source>
        <translation>unbestimmt</translation>
    </message>
    <message>
        <source>burst</source>
        <translation>Burst</translation>
    </message>
    <message>
        <source>hopper</source>
        <translation>Springer</translation>
    </message>
    <message>
        <source>ignore</source>
        <translation>übergehen</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>Typ</translation>
    </message>
    <message>
        <source>Frequency</source>
        <translation>Frequenz</translation>
    </message>
    <message>
        <source>Bandwidth</source>
        <translation>Bandbreite</translation>
    </message>
    <message>
        <source>Modulation</source>
        <translation>Modulation</translation>
    </message>
    <message>
        <source>Duration</source>
        <translation>Dauer</translation>
    </message>
    <message>
        <source>Hop rate</source>
        <translation>Sprungrate</translation>
    </message>
    <message>
        <source>Shift</source>
        <translation>Hub</translation>
    </message>
    <message>
        <source>Symbol rate</source>
        <translation>Symbolrate</translation>
    </message>
</context>
<context>
    <name>Kolta::ShortTimeProfile_TextAdapter</name>
    <message>
        <source>Frequency : </source>
        <translation>Frequenz: </translation>
    </message>
    <message>
        <source>Bandwidth : </source>
        <translation>Bandbreite: </translation>
    </message>
    <message>
        <source>Modulation : </source>
        <translation>Modulation: </translation>
    </message>
    <message>
        <source>Duration : </source>
        <translation>Dauer: </translation>
    </message>
    <message>
        <source>Hop Rate : </source>
        <translation>Sprungrate: </translation>
    </message>
    <message>
        <source>Shift : </source>
        <translation>Hub: </translation>
    </message>
    <message>
        <source>Symbol Rate : </source>
        <translation>Symbolrate: </translation>
    </message>
</context>
<context>
    <name>Kolta::ShortTimeResult_TextAdapter</name>
    <message>
        <source>Frequency</source>
        <translation>Frequenz</translation>
    </message>
    <message>
        <source>Bandwidth</source>
        <translation>Bandbreite</translation>
    </message>
    <message>
        <source>Duration</source>
        <translation>Dauer</translation>
    </message>
    <message>
        <source>Level</source>
        <translation>Pegel</translation>
    </message>
    <message>
        <source>Symbol rate</source>
        <translation>Symbolrate</translation>
    </message>
    <message>
        <source>Modulation</source>
        <translation>Modulation</translation>
    </message>
    <message>
        <source>Profile</source>
        <translation>Profil</translation>
    </message>
    <message>
        <source>Confidence</source>
        <translation>Sicherheit</translation>
    </message>
    <message>
        <source>FFP</source>
        <translation>FFP</translation>
    </message>
    <message>
        <source>Recording</source>
        <translation>Aufzeichnung</translation>
    </message>
    <message>
        <source>Start (UTC)</source>
        <translation>Beginn (UTC)</translation>
    </message>
</context>
<context>
    <name>Kolta::StopJob</name>
    <message>
        <source>a null GUID names no production</source>
        <translation>eine leere GUID benennt keine Produktion</translation>
    </message>
    <message>
        <source>waiting for %1 to stop</source>
        <translation>wartet, bis %1 anhält</translation>
    </message>
    <message>
        <source>waiting for %1 to return</source>
        <translation>wartet auf die Rückkehr von %1</translation>
    </message>
</context>
<context>
    <name>Kolta::TerminationJob</name>
    <message>
        <source>waiting for %1 to end</source>
        <translation>wartet auf das Ende von %1</translation>
    </message>
    <message>
        <source>%1 takes no requests</source>
        <translation>%1 nimmt keine Anforderungen an</translation>
    </message>
    <message>
        <source>waiting for %1 to return</source>
        <translation>wartet auf die Rückkehr von %1</translation>
    </message>
    <message>
        <source>%1 has ended, but not returned</source>
        <translation>%1 ist beendet, aber nicht zurückgekehrt</translation>
    </message>
    <message>
        <source>%1 has not ended</source>
        <translation>%1 ist nicht beendet</translation>
    </message>
</context>
<context>
    <name>Kolta::TunerBookingManager</name>
    <message>
        <source>free</source>
        <translation>frei</translation>
    </message>
    <message>
        <source>already in use</source>
        <translation>schon belegt</translation>
    </message>
    <message>
        <source>inaccessiblealready planned</source>
        <translation>unerreichbar, schon geplant</translation>
    </message>
    <message>
        <source>already planned</source>
        <translation>schon geplant</translation>
    </message>
    <message>
        <source>Tuner with GUID %1 is %2.</source>
        <translation>Der Tuner mit der GUID %1 ist %2.</translation>
    </message>
    <message>
        <source>Invalid type of IRGObject passed.</source>
        <translation>Ein Objekt eines ungültigen Typs wurde übergeben.</translation>
    </message>
    <message>
        <source>No Tuner with GUID %1 exists</source>
        <translation>Einen Tuner mit der GUID %1 gibt es nicht</translation>
    </message>
    <message>
        <source>Tuner with GUID %1 does not fit: %2</source>
        <translation>Der Tuner mit der GUID %1 passt nicht: %2</translation>
    </message>
</context>
<context>
    <name>Kolta::TunerClassModel</name>
    <message>
        <source>Class</source>
        <translation>Klasse</translation>
    </message>
    <message>
        <source>Free</source>
        <translation>Frei</translation>
    </message>
    <message>
        <source>Demand class</source>
        <translation>Bedarfsklasse</translation>
    </message>
    <message>
        <source>Cost</source>
        <translation>Kosten</translation>
    </message>
    <message>
        <source>Description</source>
        <translation>Beschreibung</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 von %2</translation>
    </message>
</context>
<context>
    <name>Kolta::TunerClassResourceSelector</name>
    <message>
        <source>Not enough tuners of class %1 available.</source>
        <translation>Es sind nicht genug Tuner der Klasse %1 da.</translation>
    </message>
</context>
<context>
    <name>Kolta::TunerModel</name>
    <message>
        <source>Tuner</source>
        <translation>Tuner</translation>
    </message>
    <message>
        <source>Class</source>
        <translation>Klasse</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>Typ</translation>
    </message>
    <message>
        <source>Range</source>
        <translation>Bereich</translation>
    </message>
    <message>
        <source>Bandwidth</source>
        <translation>Bandbreite</translation>
    </message>
    <message>
        <source>State</source>
        <translation>Zustand</translation>
    </message>
    <message>
        <source>Used by</source>
        <translation>Belegt von</translation>
    </message>
    <message>
        <source>Since</source>
        <translation>Seit</translation>
    </message>
    <message>
        <source>Server</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>%1 of %2 free</source>
        <translation>%1 von %2 frei</translation>
    </message>
    <message>
        <source>free</source>
        <translation>frei</translation>
    </message>
    <message>
        <source>in use</source>
        <translation>belegt</translation>
    </message>
    <message>
        <source>planned here</source>
        <translation>hier geplant</translation>
    </message>
    <message>
        <source>out of reach</source>
        <translation>unerreichbar</translation>
    </message>
    <message>
        <source>before %1</source>
        <translation>vor %1</translation>
    </message>
    <message>
        <source>no processor shown</source>
        <translation>kein Prozessor gezeigt</translation>
    </message>
    <message>
        <source>Address</source>
        <translation>Adresse</translation>
    </message>
    <message>
        <source>Options</source>
        <translation>Optionen</translation>
    </message>
</context>
<context>
    <name>Kolta::TunerNeeds</name>
    <message>
        <source>needs %1 MHz, reaches %2 to %3 MHz</source>
        <translation>braucht %1 MHz, reicht von %2 bis %3 MHz</translation>
    </message>
    <message>
        <source>needs %1 MHz, begins at %2 MHz</source>
        <translation>braucht %1 MHz, beginnt bei %2 MHz</translation>
    </message>
    <message>
        <source>needs hardware processing</source>
        <translation>braucht Hardware-Verarbeitung</translation>
    </message>
    <message>
        <source>needs a bandwidth of %1 MHz, has %2 MHz</source>
        <translation>braucht %1 MHz Bandbreite, hat %2 MHz</translation>
    </message>
    <message>
        <source>needs %1 MHz, the MCP covers %2 to %3 MHz</source>
        <translation>braucht %1 MHz, die MCP deckt %2 bis %3 MHz ab</translation>
    </message>
</context>
<context>
    <name>Kolta::TunerSelection</name>
    <message>
        <source>lower cost</source>
        <translation>geringere Kosten</translation>
    </message>
    <message>
        <source>fewer enclosing classes</source>
        <translation>weniger umgebende Klassen</translation>
    </message>
    <message>
        <source>smaller bandwidth</source>
        <translation>kleinere Bandbreite</translation>
    </message>
    <message>
        <source>no hardware processing</source>
        <translation>keine Hardware-Verarbeitung</translation>
    </message>
    <message>
        <source>no panorama scan</source>
        <translation>keine Panoramasuche</translation>
    </message>
    <message>
        <source>name sorts first</source>
        <translation>Name kommt zuerst</translation>
    </message>
    <message>
        <source>GUID sorts first</source>
        <translation>GUID kommt zuerst</translation>
    </message>
    <message>
        <source>listed first</source>
        <translation>steht weiter vorn</translation>
    </message>
    <message>
        <source>preferred by the cost function</source>
        <translation>von der Kostenfunktion bevorzugt</translation>
    </message>
    <message>
        <source>excluded</source>
        <translation>ausgeschlossen</translation>
    </message>
    <message>
        <source>no matching storage</source>
        <translation>kein passender Speicher</translation>
    </message>
    <message>
        <source>not chosen by the cost function</source>
        <translation>von der Kostenfunktion nicht gewählt</translation>
    </message>
    <message>
        <source>not in the tuner class tree</source>
        <translation>nicht im Baum der Tunerklassen</translation>
    </message>
    <message>
        <source>out of range</source>
        <translation>außerhalb des Bereichs</translation>
    </message>
    <message>
        <source>too narrow</source>
        <translation>zu schmal</translation>
    </message>
    <message>
        <source>the class is empty</source>
        <translation>die Klasse ist leer</translation>
    </message>
</context>
<context>
    <name>Kolta::Units</name>
    <message>
        <source>frequency</source>
        <translation>Frequenz</translation>
    </message>
    <message>
        <source>time</source>
        <translation>Zeit</translation>
    </message>
    <message>
        <source>symbol rate</source>
        <translation>Symbolrate</translation>
    </message>
    <message>
        <source>rate</source>
        <translation>Rate</translation>
    </message>
    <message>
        <source>did you mean %1?</source>
        <translation>ist %1 gemeint?</translation>
    </message>
    <message>
        <source>it could be %1 or %2</source>
        <translation>es kann %1 oder %2 sein</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no %2: %3</source>
        <translation>„%1“ ist keine %2: %3</translation>
    </message>
    <message>
        <source>too large</source>
        <translation>zu groß</translation>
    </message>
    <message>
        <source>there is no unit &quot;%1&quot; of it; %2</source>
        <translation>eine Einheit „%1“ dafür gibt es nicht; %2</translation>
    </message>
    <message>
        <source>known are %1</source>
        <translation>bekannt sind %1</translation>
    </message>
    <message>
        <source>it must be at least 0; %1</source>
        <translation>sie muss mindestens 0 sein; %1</translation>
    </message>
    <message>
        <source>expected one such as %1</source>
        <translation>erwartet wird etwas wie %1</translation>
    </message>
    <message>
        <source>it is turned round; %1</source>
        <translation>die Enden sind vertauscht; %1</translation>
    </message>
    <message>
        <source>expected whole numbers such as 7000-9500, in the unit in which the processors count</source>
        <translation>erwartet werden ganze Zahlen wie 7000-9500 in der Einheit, in der die Prozessoren zählen</translation>
    </message>
    <message>
        <source>duration</source>
        <translation>Dauer</translation>
    </message>
</context>
<context>
    <name>Kolta::UserAction</name>
    <message>
        <source>nobody is logged in; this needs the right %1</source>
        <translation>niemand ist angemeldet; dies braucht das Recht %1</translation>
    </message>
    <message>
        <source>nobody is logged in; this needs the rights %1</source>
        <translation>niemand ist angemeldet; dies braucht die Rechte %1</translation>
    </message>
    <message>
        <source>%1 lacks the right %2</source>
        <translation>%1 fehlt das Recht %2</translation>
    </message>
    <message>
        <source>%1 lacks the rights %2</source>
        <translation>%1 fehlen die Rechte %2</translation>
    </message>
</context>
<context>
    <name>Kolta::ViewTexts</name>
    <message>
        <source>yesterday %1</source>
        <translation>gestern %1</translation>
    </message>
    <message>
        <source>last known %1</source>
        <translation>zuletzt bekannt %1</translation>
    </message>
    <message>
        <source>last known earlier</source>
        <translation>zuletzt bekannt von früher</translation>
    </message>
</context>
<context>
    <name>KoltaApps::ProfileMembers</name>
    <message>
        <source>a profile needs both ends of a range</source>
        <translation>ein Profil braucht beide Enden eines Bereichs</translation>
    </message>
    <message>
        <source>a profile can hold no more than %1</source>
        <translation>ein Profil nimmt nicht mehr als %1 auf</translation>
    </message>
    <message>
        <source>a profile can hold no parts of 1%1</source>
        <translation>ein Profil kann keine Teile von 1%1 enthalten</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no modulation: expected one of %2</source>
        <translation>„%1“ ist keine Modulation: erwartet wird eine von %2</translation>
    </message>
    <message>
        <source>Frequency</source>
        <translation>Frequenz</translation>
    </message>
    <message>
        <source>Duration</source>
        <translation>Dauer</translation>
    </message>
    <message>
        <source>Bandwidth</source>
        <translation>Bandbreite</translation>
    </message>
    <message>
        <source>Symbol rate</source>
        <translation>Symbolrate</translation>
    </message>
    <message>
        <source>Shift</source>
        <translation>Hub</translation>
    </message>
    <message>
        <source>Hop rate</source>
        <translation>Sprungrate</translation>
    </message>
    <message>
        <source>Modulation</source>
        <translation>Modulation</translation>
    </message>
    <message>
        <source>%1 to %2%3</source>
        <translation>%1 bis %2%3</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ActionTable</name>
    <message>
        <source>There is no such action.</source>
        <translation>Eine solche Aktion gibt es nicht.</translation>
    </message>
    <message>
        <source>It needs the link to the broker.</source>
        <translation>Dazu braucht es die Verbindung zum Broker.</translation>
    </message>
    <message>
        <source>It needs the right %1.</source>
        <translation>Dazu braucht es das Recht %1.</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::AddressDialog</name>
    <message>
        <source>Which installation? Servers that publish themselves are found at the address of their broker.</source>
        <translation>Welche Anlage? Server, die sich veröffentlichen, sind unter der Adresse ihres Brokers zu finden.</translation>
    </message>
    <message>
        <source>Address</source>
        <translation>Adresse</translation>
    </message>
    <message>
        <source>Show it</source>
        <translation>Anzeigen</translation>
    </message>
    <message>
        <source>Simulate one</source>
        <translation>Simulieren</translation>
    </message>
    <message>
        <source>An address is missing.</source>
        <translation>Es fehlt eine Adresse.</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::AttentionList</name>
    <message>
        <source>What needs attention</source>
        <translation>Was Beachtung braucht</translation>
    </message>
    <message>
        <source>nothing needs attention</source>
        <translation>nichts braucht Beachtung</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ButtonRow</name>
    <message>
        <source>More</source>
        <translation>Mehr</translation>
    </message>
    <message>
        <source>Further actions</source>
        <translation>Weitere Aktionen</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::CandidatesTable</name>
    <message numerus="yes">
        <source>%1 is away</source>
        <translation>
            <numerusform>%1 ist nicht da</numerusform>
            <numerusform>%1 sind nicht da</numerusform>
        </translation>
    </message>
    <message>
        <source>no server has been seen yet</source>
        <translation>noch kein Server wurde gesehen</translation>
    </message>
    <message>
        <source>%1, since %2</source>
        <translation>%1, seit %2</translation>
    </message>
    <message>
        <source>cheapest</source>
        <translation>am billigsten</translation>
    </message>
    <message>
        <source>dearer by %1</source>
        <translation>teurer um %1</translation>
    </message>
    <message>
        <source>same cost, another server</source>
        <translation>gleiche Kosten, anderer Server</translation>
    </message>
    <message>
        <source>same cost, more enclosing classes</source>
        <translation>gleiche Kosten, mehr Oberklassen</translation>
    </message>
    <message>
        <source>same cost, wider</source>
        <translation>gleiche Kosten, breiter</translation>
    </message>
    <message>
        <source>same cost, has hardware processing</source>
        <translation>gleiche Kosten, hat Hardwareverarbeitung</translation>
    </message>
    <message>
        <source>same cost, has panorama scan</source>
        <translation>gleiche Kosten, hat Panoramasuchlauf</translation>
    </message>
    <message>
        <source>same cost and name, GUID sorts later</source>
        <translation>gleiche Kosten, gleicher Name, GUID später</translation>
    </message>
    <message>
        <source>same cost, name sorts later</source>
        <translation>gleiche Kosten, Name später</translation>
    </message>
    <message>
        <source>Candidates</source>
        <translation>Kandidaten</translation>
    </message>
    <message>
        <source>the order is for %1, and %2 alone is shown</source>
        <translation>der Auftrag ist für %1, und nur %2 wird gezeigt</translation>
    </message>
    <message>
        <source>%1 is away, %2</source>
        <translation>%1 ist nicht da, %2</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::Cart</name>
    <message>
        <source>%1 is not there</source>
        <translation>%1 ist nicht da</translation>
    </message>
    <message>
        <source>conflict with %1: too few tuners</source>
        <translation>Konflikt mit %1: zu wenig Tuner</translation>
    </message>
    <message>
        <source>the server is not there</source>
        <translation>der Server ist nicht da</translation>
    </message>
    <message>
        <source>order %1</source>
        <translation>Auftrag %1</translation>
    </message>
    <message>
        <source>asked %1</source>
        <translation>%1 gefragt</translation>
    </message>
    <message>
        <source>The cart is empty</source>
        <translation>Der Korb ist leer</translation>
    </message>
    <message numerus="yes">
        <source>Cart: %n order(s), total cost %1</source>
        <translation>
            <numerusform>Korb: %n Auftrag, Kosten %1</numerusform>
            <numerusform>Korb: %n Aufträge, Kosten %1</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>, %n conflict(s)</source>
        <translation>
            <numerusform>, %n Konflikt</numerusform>
            <numerusform>, %n Konflikte</numerusform>
        </translation>
    </message>
    <message>
        <source>%1 is away</source>
        <translation>%1 ist fort</translation>
    </message>
    <message>
        <source>taken meanwhile</source>
        <translation>inzwischen vergeben</translation>
    </message>
    <message>
        <source>last known</source>
        <translation>zuletzt bekannt</translation>
    </message>
    <message>
        <source>ended</source>
        <translation>beendet</translation>
    </message>
    <message>
        <source>running</source>
        <translation>läuft</translation>
    </message>
    <message>
        <source>ready to start</source>
        <translation>startbereit</translation>
    </message>
    <message>
        <source>not shared out yet</source>
        <translation>noch nicht verteilt</translation>
    </message>
    <message>
        <source>%1, class %2</source>
        <translation>%1, Klasse %2</translation>
    </message>
    <message>
        <source>the MCP&apos;s tuner</source>
        <translation>der Tuner der MCP</translation>
    </message>
    <message>
        <source>Order</source>
        <translation>Auftrag</translation>
    </message>
    <message>
        <source>Frequency</source>
        <translation>Frequenz</translation>
    </message>
    <message>
        <source>Bandwidth</source>
        <translation>Bandbreite</translation>
    </message>
    <message>
        <source>Gets</source>
        <translation>Erhält</translation>
    </message>
    <message>
        <source>Cost</source>
        <translation>Kosten</translation>
    </message>
    <message>
        <source>State</source>
        <translation>Zustand</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::EventsPage</name>
    <message>
        <source>Filter: S3, alarm, !tuner, 11:00-12:00, text</source>
        <translation>Filter: S3, Alarm, !Tuner, 11:00-12:00, Text</translation>
    </message>
    <message>
        <source>Filter of events</source>
        <translation>Filter der Ereignisse</translation>
    </message>
    <message>
        <source>Events</source>
        <translation>Ereignisse</translation>
    </message>
    <message>
        <source>Links</source>
        <translation>Verbindungen</translation>
    </message>
    <message>
        <source>Go on (%1 new)</source>
        <translation>Weiter (%1 neu)</translation>
    </message>
    <message>
        <source>Kind of events</source>
        <translation>Art der Ereignisse</translation>
    </message>
    <message>
        <source>everything</source>
        <translation>alles</translation>
    </message>
    <message>
        <source>attention and alarms</source>
        <translation>Achtung und Alarme</translation>
    </message>
    <message>
        <source>alarms alone</source>
        <translation>nur Alarme</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>Save…</source>
        <translation>Sichern …</translation>
    </message>
    <message>
        <source>No event matches &quot;%1&quot;.</source>
        <translation>Kein Ereignis passt zu „%1“.</translation>
    </message>
    <message>
        <source>No event of %1 matches &quot;%2&quot;.</source>
        <translation>Kein Ereignis von %1 passt zu „%2“.</translation>
    </message>
    <message>
        <source>%1 of %2 events; the newest on top</source>
        <translation>%1 von %2 Ereignissen; das neueste oben</translation>
    </message>
    <message>
        <source>Save events</source>
        <translation>Ereignisse sichern</translation>
    </message>
    <message>
        <source>Table (*.csv);;JSON lines (*.jsonl)</source>
        <translation>Tabelle (*.csv);;JSON-Zeilen (*.jsonl)</translation>
    </message>
    <message>
        <source>%1 events saved in %2</source>
        <translation>%1 Ereignisse in %2 gesichert</translation>
    </message>
    <message>
        <source>events cannot be saved in %1: %2</source>
        <translation>Ereignisse lassen sich nicht in %1 sichern: %2</translation>
    </message>
    <message>
        <source>Trace</source>
        <translation>Trace</translation>
    </message>
    <message>
        <source>No events yet</source>
        <translation>Noch keine Ereignisse</translation>
    </message>
    <message>
        <source>No alarms yet</source>
        <translation>Noch keine Alarme</translation>
    </message>
    <message>
        <source>Nothing that needs attention yet</source>
        <translation>Noch nichts, was Beachtung braucht</translation>
    </message>
    <message>
        <source>No events of this kind yet: %1</source>
        <translation>Noch keine Ereignisse dieser Art: %1</translation>
    </message>
    <message>
        <source>%1 (%2 alone)</source>
        <translation>%1 (nur %2)</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::FrequencyAxis</name>
    <message>
        <source>Groups of tuners</source>
        <translation>Gruppen von Tunern</translation>
    </message>
    <message>
        <source>%1 of %2 free</source>
        <translation>%1 von %2 frei</translation>
    </message>
    <message>
        <source>Frequencies that the tuners reach</source>
        <translation>Frequenzen, die die Tuner erreichen</translation>
    </message>
    <message>
        <source>what runs</source>
        <translation>was läuft</translation>
    </message>
    <message>
        <source>wheel: zoom · drag: move · Shift+drag: order that band</source>
        <translation>Rad: Zoom · ziehen: schieben · Umschalt+ziehen: Band bestellen</translation>
    </message>
    <message>
        <source>Lower frequencies (←)</source>
        <translation>Niedrigere Frequenzen (←)</translation>
    </message>
    <message>
        <source>Higher frequencies (→)</source>
        <translation>Höhere Frequenzen (→)</translation>
    </message>
    <message>
        <source>Zoom in (+)</source>
        <translation>Vergrößern (+)</translation>
    </message>
    <message>
        <source>Zoom out (−)</source>
        <translation>Verkleinern (−)</translation>
    </message>
    <message>
        <source>Show all (0)</source>
        <translation>Alles zeigen (0)</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::GroupedTable</name>
    <message>
        <source>%1 of %2 free</source>
        <translation>%1 von %2 frei</translation>
    </message>
    <message>
        <source>without a name</source>
        <translation>ohne Namen</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::InstallationModel</name>
    <message>
        <source>%L1 of %L2 free</source>
        <translation>%L1 von %L2 frei</translation>
    </message>
    <message>
        <source>Tuner %1, %2</source>
        <translation>Tuner %1, %2</translation>
    </message>
    <message>
        <source>Tuner %1, %2: %3</source>
        <translation>Tuner %1, %2: %3</translation>
    </message>
    <message>
        <source>%L1 tuners</source>
        <translation>%L1 Tuner</translation>
    </message>
    <message>
        <source>no tuners</source>
        <translation>keine Tuner</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::InstallationTree</name>
    <message>
        <source>The installation</source>
        <translation>Die Anlage</translation>
    </message>
    <message>
        <source>no server yet</source>
        <translation>noch kein Server</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::LinkMessages</name>
    <message>
        <source>Traffic</source>
        <translation>Verkehr</translation>
    </message>
    <message>
        <source>Read the traffic</source>
        <translation>Verkehr mitlesen</translation>
    </message>
    <message>
        <source>Stop reading</source>
        <translation>Nicht mehr mitlesen</translation>
    </message>
    <message>
        <source>Messages of the link</source>
        <translation>Nachrichten der Verbindung</translation>
    </message>
    <message>
        <source>Text of the message</source>
        <translation>Text der Nachricht</translation>
    </message>
    <message>
        <source>Traffic of %1</source>
        <translation>Verkehr von %1</translation>
    </message>
    <message numerus="yes">
        <source>The link is no more; %n message(s) were read until %1.</source>
        <translation>
            <numerusform>Die Verbindung gibt es nicht mehr; bis %1 wurde %n Nachricht gelesen.</numerusform>
            <numerusform>Die Verbindung gibt es nicht mehr; bis %1 wurden %n Nachrichten gelesen.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n message(s), at most %1 are kept; read since %2</source>
        <translation>
            <numerusform>%n Nachricht, höchstens %1 bleiben; mitgelesen seit %2</numerusform>
            <numerusform>%n Nachrichten, höchstens %1 bleiben; mitgelesen seit %2</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n message(s); not read since %1</source>
        <translation>
            <numerusform>%n Nachricht; seit %1 wird nicht mitgelesen</numerusform>
            <numerusform>%n Nachrichten; seit %1 wird nicht mitgelesen</numerusform>
        </translation>
    </message>
    <message>
        <source>Choose a message to see all of it.</source>
        <translation>Wählen Sie eine Nachricht, um sie ganz zu sehen.</translation>
    </message>
</context>
<context>
    <name>BranchMessages</name>
    <message>
        <source>adds %1</source>
        <translation>legt %1 an</translation>
    </message>
    <message>
        <source>removes %1</source>
        <translation>entfernt %1</translation>
    </message>
    <message>
        <source>sets %1</source>
        <translation>setzt %1</translation>
    </message>
    <message>
        <source>changes a part of %1</source>
        <translation>ändert einen Teil von %1</translation>
    </message>
    <message>
        <source>announces %1</source>
        <translation>kündigt %1 an</translation>
    </message>
    <message>
        <source>changes the collection %1</source>
        <translation>ändert die Sammlung %1</translation>
    </message>
    <message>
        <source>orders by %1</source>
        <translation>beauftragt mit %1</translation>
    </message>
    <message>
        <source>does something unknown to %1</source>
        <translation>tut Unbekanntes mit %1</translation>
    </message>
    <message numerus="yes">
        <source>(%n bytes)</source>
        <translation>
            <numerusform>(%n Byte)</numerusform>
            <numerusform>(%n Bytes)</numerusform>
        </translation>
    </message>
    <message>
        <source>changes nothing</source>
        <translation>ändert nichts</translation>
    </message>
    <message numerus="yes">
        <source>%1, and %n more change(s)</source>
        <translation>
            <numerusform>%1, und %n weitere Änderung</numerusform>
            <numerusform>%1, und %n weitere Änderungen</numerusform>
        </translation>
    </message>
    <message>
        <source>entry %1 is too large to be sent</source>
        <translation>Eintrag %1 ist zu groß zum Senden</translation>
    </message>
    <message>
        <source>entry %1</source>
        <translation>Eintrag %1</translation>
    </message>
    <message>
        <source>entries %1 to %2</source>
        <translation>Einträge %1 bis %2</translation>
    </message>
    <message>
        <source>refuses, %1</source>
        <translation>weist ab, %1</translation>
    </message>
    <message>
        <source>the server says that it is there</source>
        <translation>der Server sagt, dass er da ist</translation>
    </message>
    <message>
        <source>the server has left</source>
        <translation>der Server hat sich abgemeldet</translation>
    </message>
    <message>
        <source>the broker says that the server has gone</source>
        <translation>der Broker sagt, dass der Server fort ist</translation>
    </message>
    <message>
        <source>part %1 of %2 of the state after entry %3</source>
        <translation>Teil %1 von %2 des Standes nach Eintrag %3</translation>
    </message>
    <message>
        <source>wish %1: %2</source>
        <translation>Wunsch %1: %2</translation>
    </message>
    <message>
        <source>asks for a sign of life</source>
        <translation>fragt nach einem Lebenszeichen</translation>
    </message>
    <message>
        <source>asks for the state</source>
        <translation>fragt nach dem Stand</translation>
    </message>
    <message>
        <source>asks for the entries from %1 on</source>
        <translation>fragt nach den Einträgen ab %1</translation>
    </message>
    <message>
        <source>of the collection %1</source>
        <translation>der Sammlung %1</translation>
    </message>
    <message>
        <source>refused: %1</source>
        <translation>abgewiesen: %1</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::LinkTraffic</name>
    <message>
        <source>Time</source>
        <translation>Zeit</translation>
    </message>
    <message>
        <source>Direction</source>
        <translation>Richtung</translation>
    </message>
    <message>
        <source>Message</source>
        <translation>Nachricht</translation>
    </message>
    <message>
        <source>Bytes</source>
        <translation>Bytes</translation>
    </message>
    <message>
        <source>Took</source>
        <translation>Dauer</translation>
    </message>
    <message>
        <source>%1 refuses: %2</source>
        <translation>%1 weist ab: %2</translation>
    </message>
    <message>
        <source>asks %1 for %2</source>
        <translation>fragt %1 nach %2</translation>
    </message>
    <message>
        <source>orders %2 from %1</source>
        <translation>verlangt %2 von %1</translation>
    </message>
    <message>
        <source>%1 has done it</source>
        <translation>%1 hat es getan</translation>
    </message>
    <message>
        <source>%1 answers with %2</source>
        <translation>%1 antwortet mit %2</translation>
    </message>
    <message>
        <source>%1 tells of %2</source>
        <translation>%1 meldet %2</translation>
    </message>
    <message>
        <source>a message of an unknown kind, about %1</source>
        <translation>eine Nachricht unbekannter Art, zu %1</translation>
    </message>
    <message numerus="yes">
        <source>%n more part(s)</source>
        <translation>
            <numerusform>%n weiterer Teil</numerusform>
            <numerusform>%n weitere Teile</numerusform>
        </translation>
    </message>
    <message>
        <source>an empty message</source>
        <translation>eine leere Nachricht</translation>
    </message>
    <message>
        <source>… shortened: this is the beginning of %1 bytes.</source>
        <translation>… gekürzt: Das ist der Anfang von %1 Bytes.</translation>
    </message>
    <message>
        <source>sent</source>
        <translation>gesendet</translation>
    </message>
    <message>
        <source>received</source>
        <translation>empfangen</translation>
    </message>
    <message>
        <source>%1 ms</source>
        <translation>%1 ms</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::LinksView</name>
    <message>
        <source>There are no links: the servers are simulated in this process.</source>
        <translation>Es gibt keine Verbindungen: die Server sind in diesem Prozess simuliert.</translation>
    </message>
    <message>
        <source>Links</source>
        <translation>Verbindungen</translation>
    </message>
    <message>
        <source>Read the traffic</source>
        <translation>Verkehr mitlesen</translation>
    </message>
    <message>
        <source>Choose a link to read its traffic.</source>
        <translation>Wählen Sie eine Verbindung, um ihren Verkehr mitzulesen.</translation>
    </message>
    <message>
        <source>What passes through the broker is read branch by branch: choose one of these.</source>
        <translation>Was über den Broker läuft, ist Zweig für Zweig zu lesen: einen davon wählen.</translation>
    </message>
    <message>
        <source>The link is no more.</source>
        <translation>Die Verbindung gibt es nicht mehr.</translation>
    </message>
    <message>
        <source>Nobody reads the messages of this link, which costs nothing.</source>
        <translation>Niemand liest die Nachrichten dieser Verbindung mit; das kostet nichts.</translation>
    </message>
    <message>
        <source>Filter: S3, lost, !up</source>
        <translation>Filter: S3, verloren, !steht</translation>
    </message>
    <message>
        <source>Filter of links</source>
        <translation>Filter der Verbindungen</translation>
    </message>
    <message>
        <source>No link matches &quot;%1&quot;.</source>
        <translation>Keine Verbindung passt zu „%1“.</translation>
    </message>
    <message>
        <source>%1 of %2 links</source>
        <translation>%1 von %2 Verbindungen</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::MainWindow</name>
    <message>
        <source>Kolta – %1</source>
        <translation>Kolta – %1</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message numerus="yes">
        <source>and %n more line(s)</source>
        <translation>
            <numerusform>und %n Zeile mehr</numerusform>
            <numerusform>und %n Zeilen mehr</numerusform>
        </translation>
    </message>
    <message>
        <source>The command that does the same</source>
        <translation>Der Befehl, der dasselbe tut</translation>
    </message>
    <message>
        <source>What happened</source>
        <translation>Was geschah</translation>
    </message>
    <message>
        <source>Go to %1</source>
        <translation>Zu „%1“</translation>
    </message>
    <message>
        <source>Command palette</source>
        <translation>Befehlspalette</translation>
    </message>
    <message>
        <source>Next that needs attention</source>
        <translation>Nächster, der Beachtung braucht</translation>
    </message>
    <message>
        <source>The one before that needs attention</source>
        <translation>Voriger, der Beachtung braucht</translation>
    </message>
    <message>
        <source>Copy the kolta line</source>
        <translation>Die kolta-Zeile kopieren</translation>
    </message>
    <message>
        <source>Light or dark</source>
        <translation>Hell oder dunkel</translation>
    </message>
    <message>
        <source>Filter the page</source>
        <translation>Die Seite filtern</translation>
    </message>
    <message>
        <source>Show or hide the tree</source>
        <translation>Den Baum zeigen oder verbergen</translation>
    </message>
    <message>
        <source>Show or hide the events</source>
        <translation>Die Ereignisse zeigen oder verbergen</translation>
    </message>
    <message>
        <source>Next part of the window</source>
        <translation>Nächster Teil des Fensters</translation>
    </message>
    <message>
        <source>Leave list, filter, selection, server</source>
        <translation>Liste, Filter, Auswahl, Server verlassen</translation>
    </message>
    <message>
        <source>Newest event</source>
        <translation>Neuestes Ereignis</translation>
    </message>
    <message>
        <source>Menu of the row</source>
        <translation>Menü der Zeile</translation>
    </message>
    <message>
        <source>Show all servers</source>
        <translation>Alle Server zeigen</translation>
    </message>
    <message>
        <source>Everything below is last known of %1. Nothing is sent later by itself; what you were writing is kept.</source>
        <translation>Alles darunter ist der letzte Stand von %1. Nichts wird später von selbst gesendet; was Sie schrieben, bleibt erhalten.</translation>
    </message>
    <message>
        <source>The broker is back after %1 s.</source>
        <translation>Der Broker ist nach %1 s wieder da.</translation>
    </message>
    <message>
        <source>The broker is back after %1 min.</source>
        <translation>Der Broker ist nach %1 min wieder da.</translation>
    </message>
    <message>
        <source>All actions and their keys</source>
        <translation>Alle Aktionen und ihre Tasten</translation>
    </message>
    <message>
        <source>Copy the selected rows as text</source>
        <translation>Die gewählten Zeilen als Text kopieren</translation>
    </message>
    <message>
        <source>No line does this.</source>
        <translation>Dafür gibt es keine Zeile.</translation>
    </message>
    <message>
        <source>%1
The servers are simulated by this console: no other program reaches them.</source>
        <translation>%1
Diese Server simuliert die Konsole: kein anderes Programm erreicht sie.</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::Offers</name>
    <message>
        <source>%1 is away</source>
        <translation>%1 ist nicht da</translation>
    </message>
    <message>
        <source>the chosen tuner is not there</source>
        <translation>der gewählte Tuner ist nicht da</translation>
    </message>
    <message>
        <source>no tuner of class %1</source>
        <translation>kein Tuner der Klasse %1</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::OrderForm</name>
    <message>
        <source>the MCP&apos;s tuner</source>
        <translation>der Tuner der MCP</translation>
    </message>
    <message>
        <source>choose a class</source>
        <translation>Klasse wählen</translation>
    </message>
    <message>
        <source>%1  (%2 of %3 free)</source>
        <translation>%1  (%2 von %3 frei)</translation>
    </message>
    <message>
        <source>choose an MCP</source>
        <translation>MCP wählen</translation>
    </message>
    <message>
        <source>Kind</source>
        <translation>Art</translation>
    </message>
    <message>
        <source>Class</source>
        <translation>Klasse</translation>
    </message>
    <message>
        <source>Frequency</source>
        <translation>Frequenz</translation>
    </message>
    <message>
        <source>Bandwidth</source>
        <translation>Bandbreite</translation>
    </message>
    <message>
        <source>Runs in</source>
        <translation>Läuft in</translation>
    </message>
    <message>
        <source>Demand class</source>
        <translation>Bedarfsklasse</translation>
    </message>
    <message>
        <source>Storage</source>
        <translation>Speicher</translation>
    </message>
    <message>
        <source>Server</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>98.5 MHz</source>
        <translation>98,5 MHz</translation>
    </message>
    <message>
        <source>as the demand class</source>
        <translation>wie die Bedarfsklasse</translation>
    </message>
    <message>
        <source>kind and number</source>
        <translation>Art und Nummer</translation>
    </message>
    <message>
        <source>%1 (not there)</source>
        <translation>%1 (nicht da)</translation>
    </message>
    <message>
        <source>(not there)</source>
        <translation>(nicht da)</translation>
    </message>
    <message>
        <source>a new one</source>
        <translation>eine neue</translation>
    </message>
    <message>
        <source>any server</source>
        <translation>jeder Server</translation>
    </message>
    <message>
        <source>as the class says</source>
        <translation>wie die Klasse sagt</translation>
    </message>
    <message>
        <source>any</source>
        <translation>beliebig</translation>
    </message>
    <message>
        <source>choose a server first</source>
        <translation>zuerst einen Server wählen</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::OrderPage</name>
    <message>
        <source>How the order is</source>
        <translation>Wie es um den Auftrag steht</translation>
    </message>
    <message>
        <source>Filter: S3, 118-137 MHz, &gt;20 MHz</source>
        <translation>Filter: S3, 118-137 MHz, &gt;20 MHz</translation>
    </message>
    <message>
        <source>Filter of candidates</source>
        <translation>Filter der Kandidaten</translation>
    </message>
    <message>
        <source>Order</source>
        <translation>Auftrag</translation>
    </message>
    <message>
        <source>Cart</source>
        <translation>Korb</translation>
    </message>
    <message>
        <source>Start</source>
        <translation>Starten</translation>
    </message>
    <message>
        <source>Plan</source>
        <translation>Planen</translation>
    </message>
    <message>
        <source>There is no tuner to plan.</source>
        <translation>Es gibt keinen Tuner zu planen.</translation>
    </message>
    <message>
        <source>To cart</source>
        <translation>In Korb</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbruch</translation>
    </message>
    <message>
        <source>No order is under way.</source>
        <translation>Kein Auftrag ist unterwegs.</translation>
    </message>
    <message>
        <source>The cart is empty.</source>
        <translation>Der Korb ist leer.</translation>
    </message>
    <message>
        <source>Share out at least cost</source>
        <translation>Am günstigsten verteilen</translation>
    </message>
    <message>
        <source>Start the cart</source>
        <translation>Korb starten</translation>
    </message>
    <message>
        <source>Nothing in the cart has a tuner; share out first.</source>
        <translation>Nichts im Korb hat einen Tuner; zuerst verteilen.</translation>
    </message>
    <message>
        <source>Empty</source>
        <translation>Leeren</translation>
    </message>
    <message>
        <source>Take the line out of the cart</source>
        <translation>Die Zeile aus dem Korb nehmen</translation>
    </message>
    <message>
        <source>No line of the cart is selected.</source>
        <translation>Keine Zeile des Korbs ist ausgewählt.</translation>
    </message>
    <message>
        <source>It is being asked for.</source>
        <translation>Sie wird gerade angefordert.</translation>
    </message>
    <message>
        <source>Candidates, last known: %1, %2 refused</source>
        <translation>Kandidaten, letzter Stand: %1, abgelehnt %2</translation>
    </message>
    <message>
        <source>Candidates: %1 can take it, %2 refused</source>
        <translation>Kandidaten: %1 können es, %2 abgelehnt</translation>
    </message>
    <message>
        <source>No candidates: %1</source>
        <translation>Keine Kandidaten: %1</translation>
    </message>
    <message>
        <source>; the tuner that was chosen is not among them</source>
        <translation>; der gewählte Tuner ist nicht darunter</translation>
    </message>
    <message>
        <source>; the filter hides the first</source>
        <translation>; der Filter verbirgt den ersten</translation>
    </message>
    <message>
        <source>No candidate matches &quot;%1&quot;</source>
        <translation>Kein Kandidat passt zu „%1“</translation>
    </message>
    <message>
        <source>%1 of %2 candidates</source>
        <translation>%1 von %2 Kandidaten</translation>
    </message>
    <message>
        <source>reaches %1</source>
        <translation>reicht %1</translation>
    </message>
    <message>
        <source>%1 of %2 are too narrow</source>
        <translation>%1 von %2 sind zu schmal</translation>
    </message>
    <message>
        <source>An order is under way: %1</source>
        <translation>Ein Auftrag ist unterwegs: %1</translation>
    </message>
    <message>
        <source>No tuner can take it; the reasons stand beside them.</source>
        <translation>Kein Tuner kann es; die Gründe stehen daneben.</translation>
    </message>
    <message>
        <source>The chosen tuner cannot take it: %1</source>
        <translation>Der gewählte Tuner kann es nicht: %1</translation>
    </message>
    <message>
        <source>No server is there to ask.</source>
        <translation>Kein Server ist da, den man fragen könnte.</translation>
    </message>
    <message>
        <source>%1 on %2 of %3</source>
        <translation>%1 auf %2 von %3</translation>
    </message>
    <message>
        <source>order of %1</source>
        <translation>Auftrag %1</translation>
    </message>
    <message>
        <source>asked %1</source>
        <translation>%1 gefragt</translation>
    </message>
    <message>
        <source>%1 runs</source>
        <translation>%1 läuft</translation>
    </message>
    <message>
        <source>%1 runs on %2</source>
        <translation>%1 läuft auf %2</translation>
    </message>
    <message>
        <source>; away: %1</source>
        <translation>; nicht da: %1</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::OverviewPage</name>
    <message>
        <source>No server has been seen yet</source>
        <translation>Noch kein Server wurde gesehen</translation>
    </message>
    <message>
        <source>at %1; &quot;koltasim --publish URL&quot; publishes a simulated one, &quot;--simulate&quot; plays some here</source>
        <translation>unter %1; „koltasim --publish URL“ veröffentlicht einen simulierten, „--simulate“ spielt hier welche</translation>
    </message>
    <message>
        <source>Servers: %L1</source>
        <translation>Server: %L1</translation>
    </message>
    <message>
        <source>worst first · strip: the last 24 h, dotted where nobody watched</source>
        <translation>das Schlimmste zuerst · Streifen: die letzten 24 h, gepunktet, wo niemand hinsah</translation>
    </message>
    <message>
        <source>%1 alone; Esc in the tree shows all</source>
        <translation>nur %1; Esc im Baum zeigt alle</translation>
    </message>
    <message>
        <source>Filter: S3, attention, !vanished</source>
        <translation>Filter: S3, Achtung, !verschwunden</translation>
    </message>
    <message>
        <source>Filter of servers</source>
        <translation>Filter der Server</translation>
    </message>
    <message>
        <source>Servers: %L1 of %L2</source>
        <translation>Server: %L1 von %L2</translation>
    </message>
    <message>
        <source>No server matches &quot;%1&quot;.</source>
        <translation>Kein Server passt zu „%1“.</translation>
    </message>
    <message>
        <source>%1 is not there</source>
        <translation>%1 ist nicht da</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::Palette</name>
    <message>
        <source>an action, a server, or a command of kolta</source>
        <translation>eine Aktion, ein Server oder ein Befehl von kolta</translation>
    </message>
    <message>
        <source>Command palette</source>
        <translation>Befehlspalette</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation>%1: %2</translation>
    </message>
    <message>
        <source>show %1, then %2</source>
        <translation>%1 zeigen, dann %2</translation>
    </message>
    <message>
        <source>Enter: %1</source>
        <translation>Eingabe: %1</translation>
    </message>
    <message>
        <source>Type, or choose with the arrow keys.</source>
        <translation>Tippen Sie, oder wählen Sie mit den Pfeiltasten.</translation>
    </message>
    <message>
        <source>Enter completes the line. Then %1</source>
        <translation>Eingabe ergänzt die Zeile. Danach %1</translation>
    </message>
    <message>
        <source>Tab completes. The console has no action for this line; Enter puts it below, to be copied: %1</source>
        <translation>Tab ergänzt. Die Konsole hat keine Aktion für diese Zeile; Eingabe stellt sie zum Kopieren nach unten: %1</translation>
    </message>
    <message>
        <source>Nothing is called so.</source>
        <translation>So heißt nichts.</translation>
    </message>
    <message>
        <source>Enter: show %1 alone</source>
        <translation>Eingabe: %1 allein zeigen</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ProductionOrders</name>
    <message>
        <source>%1 does not run yet.</source>
        <translation>%1 läuft noch nicht.</translation>
    </message>
    <message>
        <source>%1 does not run: %2.</source>
        <translation>%1 läuft nicht: %2.</translation>
    </message>
    <message>
        <source>It needs the link to the broker.</source>
        <translation>Dazu braucht es die Verbindung zum Broker.</translation>
    </message>
    <message>
        <source>Nothing is selected.</source>
        <translation>Nichts ist ausgewählt.</translation>
    </message>
    <message>
        <source>%1 has ended.</source>
        <translation>%1 ist beendet.</translation>
    </message>
    <message>
        <source>That is no processor.</source>
        <translation>Das ist kein Prozessor.</translation>
    </message>
    <message>
        <source>%1 is away; %2 is what was known last.</source>
        <translation>%1 ist fort; %2 ist der letzte Stand.</translation>
    </message>
    <message>
        <source>%1: %2.</source>
        <translation>%1: %2.</translation>
    </message>
    <message>
        <source>One FFP is moved at a time.</source>
        <translation>Es wird eine FFP auf einmal verschoben.</translation>
    </message>
    <message>
        <source>Only FFPs can be moved.</source>
        <translation>Nur FFPs lassen sich verschieben.</translation>
    </message>
    <message>
        <source>One processor is taken at a time.</source>
        <translation>Es wird ein Prozessor auf einmal übernommen.</translation>
    </message>
    <message>
        <source>%1 is operated from here already.</source>
        <translation>%1 wird schon von hier bedient.</translation>
    </message>
    <message>
        <source>%1 is not operated from here.</source>
        <translation>%1 wird nicht von hier bedient.</translation>
    </message>
    <message>
        <source>Nobody operates %1; asking is enough.</source>
        <translation>Niemand bedient %1; fragen genügt.</translation>
    </message>
    <message>
        <source>One front end is started at a time.</source>
        <translation>Es wird eine Oberfläche auf einmal gestartet.</translation>
    </message>
    <message>
        <source>%1 has no driver that tells how it is reached.</source>
        <translation>%1 hat keinen Treiber, der sagt, wie er zu erreichen ist.</translation>
    </message>
    <message>
        <source>%1 on %2</source>
        <translation>%1 auf %2</translation>
    </message>
    <message>
        <source>%1 on %2, %3</source>
        <translation>%1 auf %2, %3</translation>
    </message>
    <message>
        <source>%1 since %2</source>
        <translation>%1 seit %2</translation>
    </message>
    <message>
        <source>stop</source>
        <translation>anhalten</translation>
    </message>
    <message>
        <source>stopping</source>
        <translation>hält an</translation>
    </message>
    <message>
        <source>stop %1</source>
        <translation>%1 anhalten</translation>
    </message>
    <message>
        <source>The MCP has gone.</source>
        <translation>Die MCP ist fort.</translation>
    </message>
    <message>
        <source>move</source>
        <translation>verschieben</translation>
    </message>
    <message>
        <source>moving</source>
        <translation>wird verschoben</translation>
    </message>
    <message>
        <source>move %1 to %2</source>
        <translation>%1 nach %2 verschieben</translation>
    </message>
    <message>
        <source>ownership</source>
        <translation>Besitz</translation>
    </message>
    <message>
        <source>asking</source>
        <translation>fragt</translation>
    </message>
    <message>
        <source>ownership of %1</source>
        <translation>Besitz von %1</translation>
    </message>
    <message>
        <source>front end: %1</source>
        <translation>Oberfläche: %1</translation>
    </message>
    <message>
        <source>its driver tells nothing that could be started</source>
        <translation>sein Treiber nennt nichts, was sich starten ließe</translation>
    </message>
    <message>
        <source>front end of %1 started</source>
        <translation>Oberfläche von %1 gestartet</translation>
    </message>
    <message>
        <source>front end of %1 cannot be started: %2</source>
        <translation>Oberfläche von %1 lässt sich nicht starten: %2</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ProductionRows</name>
    <message>
        <source>starting since %1</source>
        <translation>startet seit %1</translation>
    </message>
    <message>
        <source>starting</source>
        <translation>startet</translation>
    </message>
    <message>
        <source>refused</source>
        <translation>abgelehnt</translation>
    </message>
    <message>
        <source>failed</source>
        <translation>gescheitert</translation>
    </message>
    <message>
        <source>only a running FFP can be moved</source>
        <translation>nur eine laufende FFP lässt sich verschieben</translation>
    </message>
    <message>
        <source>its server is away</source>
        <translation>ihr Server ist fort</translation>
    </message>
    <message>
        <source>is no running MCP</source>
        <translation>ist keine laufende MCP</translation>
    </message>
    <message>
        <source>runs on another server, %1</source>
        <translation>läuft auf einem anderen Server, %1</translation>
    </message>
    <message>
        <source>it runs there already</source>
        <translation>sie läuft dort schon</translation>
    </message>
    <message>
        <source>lost %1</source>
        <translation>verloren %1</translation>
    </message>
    <message>
        <source>ended %1</source>
        <translation>beendet %1</translation>
    </message>
    <message>
        <source>ended after %1</source>
        <translation>beendet nach %1</translation>
    </message>
    <message>
        <source>running</source>
        <translation>läuft</translation>
    </message>
    <message>
        <source>last known</source>
        <translation>zuletzt bekannt</translation>
    </message>
    <message>
        <source>Ended in the last 24 h: %L1</source>
        <translation>In den letzten 24 h beendet: %L1</translation>
    </message>
    <message>
        <source>%1 — %2, %3</source>
        <translation>%1 — %2, %3</translation>
    </message>
    <message>
        <source>Ended in the last 24 h: %L1 of %L2 shown</source>
        <translation>In den letzten 24 h beendet: %L1 von %L2 gezeigt</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ProductionsModel</name>
    <message>
        <source>Processor</source>
        <translation>Prozessor</translation>
    </message>
    <message>
        <source>State</source>
        <translation>Zustand</translation>
    </message>
    <message>
        <source>Frequency</source>
        <translation>Frequenz</translation>
    </message>
    <message>
        <source>Bandwidth</source>
        <translation>Bandbreite</translation>
    </message>
    <message>
        <source>Hardware</source>
        <translation>Hardware</translation>
    </message>
    <message>
        <source>Owner</source>
        <translation>Besitzer</translation>
    </message>
    <message>
        <source>The last 24 hours</source>
        <translation>Die letzten 24 Stunden</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ProductionsPage</name>
    <message>
        <source>%1 and %2 more</source>
        <translation>%1 und %2 weitere</translation>
    </message>
    <message>
        <source>Filter: FFP, S1, operator, 121.5 MHz</source>
        <translation>Filter: FFP, S1, operator, 121,5 MHz</translation>
    </message>
    <message>
        <source>Filter of productions</source>
        <translation>Filter der Produktionen</translation>
    </message>
    <message>
        <source>Productions</source>
        <translation>Produktionen</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Anhalten</translation>
    </message>
    <message>
        <source>Move to…</source>
        <translation>Verschieben …</translation>
    </message>
    <message>
        <source>Front end</source>
        <translation>Oberfläche</translation>
    </message>
    <message>
        <source>Take the ownership from %1?</source>
        <translation>%1 den Besitz nehmen?</translation>
    </message>
    <message>
        <source>Take ownership</source>
        <translation>Besitz nehmen</translation>
    </message>
    <message>
        <source>Ask for ownership</source>
        <translation>Besitz erbitten</translation>
    </message>
    <message>
        <source>Give ownership back</source>
        <translation>Besitz zurückgeben</translation>
    </message>
    <message>
        <source>%1 running</source>
        <translation>%1 laufen</translation>
    </message>
    <message>
        <source>%1 last known</source>
        <translation>%1 zuletzt bekannt</translation>
    </message>
    <message>
        <source>%1 ended</source>
        <translation>%1 beendet</translation>
    </message>
    <message>
        <source>No production matches &quot;%1&quot;.</source>
        <translation>Keine Produktion passt zu „%1“.</translation>
    </message>
    <message>
        <source>No server has been seen yet.</source>
        <translation>Noch kein Server wurde gesehen.</translation>
    </message>
    <message>
        <source>Nothing runs, and nothing has ended in the last 24 h.</source>
        <translation>Nichts läuft, und nichts endete in den letzten 24 h.</translation>
    </message>
    <message>
        <source>need the link.</source>
        <translation>brauchen die Verbindung.</translation>
    </message>
    <message>
        <source>%1 on %2</source>
        <translation>%1 auf %2</translation>
    </message>
    <message>
        <source>Stop all of these?</source>
        <translation>All diese anhalten?</translation>
    </message>
    <message>
        <source>No MCP runs</source>
        <translation>Keine MCP läuft</translation>
    </message>
    <message>
        <source>Nothing ran when it was seen last, at %1.</source>
        <translation>Nichts lief, als es zuletzt zu sehen war, um %1.</translation>
    </message>
    <message>
        <source>Nothing runs; watched since %1.</source>
        <translation>Nichts läuft; beobachtet seit %1.</translation>
    </message>
    <message>
        <source>%1 processors are called %2, give a GUID or --server.</source>
        <translation>%1 Prozessoren heißen %2; gefragt ist eine GUID oder --server.</translation>
    </message>
    <message>
        <source>The page of productions shows no %1.</source>
        <translation>Die Seite der Produktionen zeigt kein %1.</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ReplayBar</name>
    <message>
        <source>Place in the recording</source>
        <translation>Stelle der Aufzeichnung</translation>
    </message>
    <message>
        <source>12:03:10, +30, end</source>
        <translation>12:03:10, +30, end</translation>
    </message>
    <message>
        <source>Time to jump to</source>
        <translation>Zeit, zu der gesprungen wird</translation>
    </message>
    <message>
        <source>Speed of the replay</source>
        <translation>Geschwindigkeit der Wiedergabe</translation>
    </message>
    <message>
        <source>The recording is at its end.</source>
        <translation>Die Aufzeichnung ist zu Ende.</translation>
    </message>
    <message>
        <source>Pause or go on</source>
        <translation>Anhalten oder weiter</translation>
    </message>
    <message>
        <source>One step</source>
        <translation>Ein Schritt</translation>
    </message>
    <message>
        <source>Jump to…</source>
        <translation>Springen zu …</translation>
    </message>
    <message>
        <source>From the beginning</source>
        <translation>Von Anfang an</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Anhalten</translation>
    </message>
    <message>
        <source>Go on</source>
        <translation>Weiter</translation>
    </message>
    <message>
        <source>replay of %1, %2, %3</source>
        <translation>Wiedergabe von %1, %2, %3</translation>
    </message>
    <message>
        <source>, at its end</source>
        <translation>, am Ende</translation>
    </message>
    <message>
        <source>, cut off there: %1</source>
        <translation>, dort abgeschnitten: %1</translation>
    </message>
    <message>
        <source>, paused</source>
        <translation>, angehalten</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::RowIndex</name>
    <message>
        <source>%1: %2 of %3 free</source>
        <translation>%1: %2 von %3 frei</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ServerCards</name>
    <message>
        <source>none of %L1 free</source>
        <translation>keiner von %L1 frei</translation>
    </message>
    <message>
        <source>Servers</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>Need attention or start: %L1</source>
        <translation>Brauchen Beachtung oder laufen an: %L1</translation>
    </message>
    <message>
        <source>worst first, then longest</source>
        <translation>das Schlimmste zuerst, dann das Längste</translation>
    </message>
    <message>
        <source>The rest: %L1</source>
        <translation>Die übrigen: %L1</translation>
    </message>
    <message>
        <source>by name · Enter opens a server</source>
        <translation>nach Namen · Eingabe öffnet einen Server</translation>
    </message>
    <message>
        <source>%L1 free</source>
        <translation>%L1 frei</translation>
    </message>
    <message>
        <source>%L1 in use</source>
        <translation>%L1 belegt</translation>
    </message>
    <message>
        <source>%L1 planned</source>
        <translation>%L1 geplant</translation>
    </message>
    <message>
        <source>%L1 out</source>
        <translation>%L1 nicht erreichbar</translation>
    </message>
    <message numerus="yes">
        <source>%n production(s)</source>
        <translation>
            <numerusform>%n Produktion</numerusform>
            <numerusform>%n Produktionen</numerusform>
        </translation>
    </message>
    <message>
        <source>%1/%2 units</source>
        <translation>%1/%2 Einh.</translation>
    </message>
    <message>
        <source>%1 units</source>
        <translation>%1 Einheiten</translation>
    </message>
    <message>
        <source>and %1 more classes</source>
        <translation>und %1 weitere Klassen</translation>
    </message>
    <message>
        <source>%L1 tuners</source>
        <translation>%L1 Tuner</translation>
    </message>
    <message>
        <source>%L1 prod.</source>
        <translation>%L1 Prod.</translation>
    </message>
    <message>
        <source>%L1 of %L2 free</source>
        <translation>%L1 von %L2 frei</translation>
    </message>
    <message>
        <source>no tuners</source>
        <translation>keine Tuner</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::Session</name>
    <message>
        <source>%1: not asked for. %2</source>
        <translation>%1: nicht verlangt. %2</translation>
    </message>
    <message>
        <source>simulated</source>
        <translation>simuliert</translation>
    </message>
    <message>
        <source>Nobody has any right here until the file of users is mended: %1</source>
        <translation>Niemand hat hier ein Recht, bis die Datei der Benutzer berichtigt ist: %1</translation>
    </message>
    <message>
        <source>simulated in this process</source>
        <translation>in diesem Prozess simuliert</translation>
    </message>
    <message>
        <source>connecting</source>
        <translation>verbindet</translation>
    </message>
    <message>
        <source>the journal is kept in memory alone: %1</source>
        <translation>das Journal steht nur im Speicher: %1</translation>
    </message>
    <message>
        <source>from now on the journal is kept in memory alone: %1</source>
        <translation>ab jetzt ist das Journal nur im Speicher: %1</translation>
    </message>
    <message>
        <source>Layout and drafts are kept in memory alone: %1 cannot be written.</source>
        <translation>Anordnung und Entwürfe stehen nur im Speicher: %1 lässt sich nicht schreiben.</translation>
    </message>
    <message>
        <source>the broker is there</source>
        <translation>der Broker ist da</translation>
    </message>
    <message>
        <source>the broker is gone: %1</source>
        <translation>der Broker ist fort: %1</translation>
    </message>
    <message>
        <source>replay of %1</source>
        <translation>Wiedergabe von %1</translation>
    </message>
    <message>
        <source>This is a replay, in which nothing can be changed.</source>
        <translation>Das ist eine Wiedergabe, in der sich nichts ändern lässt.</translation>
    </message>
    <message>
        <source>The console was started to look only.</source>
        <translation>Die Konsole wurde nur zum Ansehen gestartet.</translation>
    </message>
    <message>
        <source>the recording begins</source>
        <translation>die Aufzeichnung beginnt</translation>
    </message>
    <message>
        <source>the recorder had lost the broker: %1</source>
        <translation>beim Aufzeichnen war der Broker fort: %1</translation>
    </message>
    <message>
        <source>the recorder had the broker again</source>
        <translation>beim Aufzeichnen war der Broker wieder da</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::TimelineDelegate</name>
    <message>
        <source>%1 – %2: not watched</source>
        <translation>%1 – %2: nicht beobachtet</translation>
    </message>
    <message>
        <source>before %1 – %2: ran</source>
        <translation>vor %1 – %2: lief</translation>
    </message>
    <message>
        <source>%1 – %2: ran</source>
        <translation>%1 – %2: lief</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::TopBar</name>
    <message>
        <source>Ctrl+K  kolta …</source>
        <translation>Strg+K  kolta …</translation>
    </message>
    <message>
        <source>How the link is</source>
        <translation>Zustand der Verbindung</translation>
    </message>
    <message>
        <source>The user and his rights</source>
        <translation>Der Benutzer und seine Rechte</translation>
    </message>
    <message>
        <source>What needs attention</source>
        <translation>Was Beachtung braucht</translation>
    </message>
    <message>
        <source>Command palette</source>
        <translation>Befehlspalette</translation>
    </message>
    <message>
        <source>, next try in %1 s</source>
        <translation>, nächster Versuch in %1 s</translation>
    </message>
    <message>
        <source>broker up since %1</source>
        <translation>Broker da seit %1</translation>
    </message>
    <message>
        <source>broker gone since %1%2</source>
        <translation>Broker fort seit %1%2</translation>
    </message>
    <message>
        <source>no broker yet: %1%2</source>
        <translation>noch kein Broker: %1%2</translation>
    </message>
    <message numerus="yes">
        <source>%n need(s) attention</source>
        <translation>
            <numerusform>%n braucht Beachtung</numerusform>
            <numerusform>%n brauchen Beachtung</numerusform>
        </translation>
    </message>
    <message>
        <source>nothing needs attention</source>
        <translation>nichts braucht Beachtung</translation>
    </message>
    <message>
        <source>Rights held</source>
        <translation>Vorhandene Rechte</translation>
    </message>
    <message>
        <source>Rights missing</source>
        <translation>Fehlende Rechte</translation>
    </message>
    <message>
        <source>%1 of %2 rights</source>
        <translation>%1 von %2 Rechten</translation>
    </message>
    <message>
        <source>nobody is logged in</source>
        <translation>niemand ist angemeldet</translation>
    </message>
    <message>
        <source>the servers decide on rights</source>
        <translation>die Server entscheiden über Rechte</translation>
    </message>
    <message>
        <source> · read only</source>
        <translation> · nur lesen</translation>
    </message>
    <message>
        <source>recorded; nothing can be changed</source>
        <translation>aufgezeichnet; nichts lässt sich ändern</translation>
    </message>
    <message>
        <source>The servers decide; nothing is known here.</source>
        <translation>Die Server entscheiden; hier ist nichts bekannt.</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::TraceLines</name>
    <message>
        <source>Time</source>
        <translation>Zeit</translation>
    </message>
    <message>
        <source>Channel</source>
        <translation>Kanal</translation>
    </message>
    <message>
        <source>Source and point</source>
        <translation>Quelle und Stelle</translation>
    </message>
    <message>
        <source>What was traced</source>
        <translation>Was aufgezeichnet wurde</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::TraceView</name>
    <message>
        <source>the process cannot go on</source>
        <translation>der Prozess kann nicht weiter</translation>
    </message>
    <message>
        <source>an operation failed, and nobody else was told</source>
        <translation>etwas ist gescheitert, und niemand sonst erfuhr es</translation>
    </message>
    <message>
        <source>something looks wrong, work goes on</source>
        <translation>etwas sieht falsch aus, es geht weiter</translation>
    </message>
    <message>
        <source>life cycle: links opened, files loaded</source>
        <translation>Lebenslauf: Verbindungen geöffnet, Dateien geladen</translation>
    </message>
    <message>
        <source>configuration read and written</source>
        <translation>Konfiguration gelesen und geschrieben</translation>
    </message>
    <message>
        <source>what support reads first</source>
        <translation>was der Kundendienst zuerst liest</translation>
    </message>
    <message>
        <source>detail that only a closer look needs</source>
        <translation>Einzelheiten für genaueres Hinsehen</translation>
    </message>
    <message>
        <source>Filter: warning, xmlmessaging, !detail, text</source>
        <translation>Filter: warning, xmlmessaging, !detail, Text</translation>
    </message>
    <message>
        <source>Filter of trace lines</source>
        <translation>Filter der Trace-Zeilen</translation>
    </message>
    <message>
        <source>Channel</source>
        <translation>Kanal</translation>
    </message>
    <message>
        <source>Number</source>
        <translation>Nummer</translation>
    </message>
    <message>
        <source>Lines</source>
        <translation>Zeilen</translation>
    </message>
    <message>
        <source>What it tells</source>
        <translation>Was er sagt</translation>
    </message>
    <message>
        <source>Trace channels</source>
        <translation>Trace-Kanäle</translation>
    </message>
    <message>
        <source>Trace lines</source>
        <translation>Trace-Zeilen</translation>
    </message>
    <message>
        <source>No line matches &quot;%1&quot;.</source>
        <translation>Keine Zeile passt zu „%1“.</translation>
    </message>
    <message>
        <source>%1 of %2 lines; the newest on top</source>
        <translation>%1 von %2 Zeilen; die neuesten oben</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::TreeBranches</name>
    <message>
        <source>never heard of</source>
        <translation>nie gehört</translation>
    </message>
    <message>
        <source>joining</source>
        <translation>tritt bei</translation>
    </message>
    <message>
        <source>live</source>
        <translation>live</translation>
    </message>
    <message>
        <source>no beat</source>
        <translation>kein Lebenszeichen</translation>
    </message>
    <message>
        <source>silent</source>
        <translation>stumm</translation>
    </message>
    <message>
        <source>lost</source>
        <translation>verloren</translation>
    </message>
    <message>
        <source>withdrawn</source>
        <translation>abgemeldet</translation>
    </message>
    <message>
        <source>forbidden</source>
        <translation>verboten</translation>
    </message>
    <message>
        <source>joining, %1 of %2 parts</source>
        <translation>tritt bei, %1 von %2 Teilen</translation>
    </message>
    <message>
        <source>the broker forbids it</source>
        <translation>der Broker verbietet es</translation>
    </message>
    <message>
        <source>up</source>
        <translation>steht</translation>
    </message>
    <message>
        <source>waiting for the next try</source>
        <translation>wartet auf den nächsten Versuch</translation>
    </message>
    <message>
        <source>next try in %1 s</source>
        <translation>nächster Versuch in %1 s</translation>
    </message>
    <message>
        <source>silent, no beat for %1 s</source>
        <translation>still seit %1 s</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::TunersPage</name>
    <message>
        <source>All tuners</source>
        <translation>Alle Tuner</translation>
    </message>
    <message>
        <source>Why the selected tuner cannot be had</source>
        <translation>Warum der gewählte Tuner nicht zu haben ist</translation>
    </message>
    <message>
        <source>Filter: HF free, 118-137 MHz, &gt;20 MHz, !S3</source>
        <translation>Filter: HF frei, 118-137 MHz, &gt;20 MHz, !S3</translation>
    </message>
    <message>
        <source>Filter of tuners</source>
        <translation>Filter der Tuner</translation>
    </message>
    <message>
        <source>by class</source>
        <translation>nach Klasse</translation>
    </message>
    <message>
        <source>by server</source>
        <translation>nach Server</translation>
    </message>
    <message>
        <source>by type</source>
        <translation>nach Typ</translation>
    </message>
    <message>
        <source>all in one</source>
        <translation>alle in einer</translation>
    </message>
    <message>
        <source>Groups of tuners</source>
        <translation>Gruppen von Tunern</translation>
    </message>
    <message>
        <source>Why not?</source>
        <translation>Warum nicht?</translation>
    </message>
    <message>
        <source>No tuner is selected.</source>
        <translation>Kein Tuner ist ausgewählt.</translation>
    </message>
    <message>
        <source>Order…</source>
        <translation>Auftrag …</translation>
    </message>
    <message>
        <source>Tuners</source>
        <translation>Tuner</translation>
    </message>
    <message>
        <source>No tuner matches &quot;%1&quot;</source>
        <translation>Kein Tuner passt zu „%1“</translation>
    </message>
    <message>
        <source>%1 has no tuners</source>
        <translation>%1 hat keine Tuner</translation>
    </message>
    <message>
        <source>There is no tuner of class %1</source>
        <translation>Es gibt keinen Tuner der Klasse %1</translation>
    </message>
    <message>
        <source>%1 has no tuner of class %2</source>
        <translation>%1 hat keinen Tuner der Klasse %2</translation>
    </message>
    <message numerus="yes">
        <source>%Ln tuner(s)</source>
        <translation>
            <numerusform>%Ln Tuner</numerusform>
            <numerusform>%Ln Tuner</numerusform>
        </translation>
    </message>
    <message>
        <source>%1 of %2 tuners</source>
        <translation>%1 von %2 Tunern</translation>
    </message>
    <message>
        <source>Rows in groups</source>
        <translation>Zeilen gruppieren</translation>
    </message>
    <message>
        <source>Choose by what the tuners are put together.</source>
        <translation>Wählen Sie, wonach die Tuner zusammengefasst werden.</translation>
    </message>
    <message>
        <source>No groups</source>
        <translation>Ohne Gruppen</translation>
    </message>
    <message>
        <source>%1 of %2 tuners, class %3 alone</source>
        <translation>%1 von %2 Tunern, nur Klasse %3</translation>
    </message>
    <message>
        <source> Its server is away, %1.</source>
        <translation> Sein Server ist fort, %1.</translation>
    </message>
    <message>
        <source> The broker is away, %1.</source>
        <translation> Der Broker ist fort, %1.</translation>
    </message>
</context>
<context>
    <name>Pages</name>
    <message>
        <source>Overview</source>
        <translation>Übersicht</translation>
    </message>
    <message>
        <source>Tuners</source>
        <translation>Tuner</translation>
    </message>
    <message>
        <source>Order</source>
        <translation>Auftrag</translation>
    </message>
    <message>
        <source>Productions</source>
        <translation>Produktionen</translation>
    </message>
    <message>
        <source>Events and links</source>
        <translation>Ereignisse und Verbindungen</translation>
    </message>
    <message>
        <source>Short-time</source>
        <translation>Kurzzeit</translation>
    </message>
</context>
<context>
    <name>ServerFacts</name>
    <message>
        <source>Vanished</source>
        <translation>Verschwunden</translation>
    </message>
    <message>
        <source>Attention</source>
        <translation>Achtung</translation>
    </message>
    <message>
        <source>Silent</source>
        <translation>Stumm</translation>
    </message>
    <message>
        <source>Joining</source>
        <translation>Tritt bei</translation>
    </message>
    <message>
        <source>Starting</source>
        <translation>Läuft an</translation>
    </message>
    <message>
        <source>Starting %1 %</source>
        <translation>Läuft an %1 %</translation>
    </message>
    <message>
        <source>Operational</source>
        <translation>In Betrieb</translation>
    </message>
    <message>
        <source>Withdrawn</source>
        <translation>Abgemeldet</translation>
    </message>
    <message>
        <source>Forbidden</source>
        <translation>Verboten</translation>
    </message>
    <message>
        <source>not seen yet</source>
        <translation>noch nicht gesehen</translation>
    </message>
    <message>
        <source>%1 units</source>
        <translation>%1 Einheiten</translation>
    </message>
    <message>
        <source>no beat for some seconds</source>
        <translation>seit Sekunden kein Lebenszeichen</translation>
    </message>
    <message>
        <source>no beat for %1 s</source>
        <translation>seit %1 s kein Lebenszeichen</translation>
    </message>
    <message>
        <source>%1 of %2 parts</source>
        <translation>%1 von %2 Teilen</translation>
    </message>
    <message>
        <source>this user may not read it</source>
        <translation>dieser Benutzer darf ihn nicht lesen</translation>
    </message>
    <message>
        <source>since %1</source>
        <translation>seit %1</translation>
    </message>
    <message>
        <source>since before %1</source>
        <translation>schon vor %1</translation>
    </message>
</context>
<context>
    <name>VeskDataStream</name>
    <message>
        <source>Bit Stream</source>
        <translation>Bitstrom</translation>
    </message>
    <message>
        <source>Instantaneous Data</source>
        <translation>Momentandaten</translation>
    </message>
    <message>
        <source>Image Data</source>
        <translation>Bilddaten</translation>
    </message>
    <message>
        <source>DDem Result</source>
        <translation>DDem-Ergebnis</translation>
    </message>
    <message>
        <source>Digital Audio</source>
        <translation>Digitales Audio</translation>
    </message>
    <message>
        <source>Analog Audio</source>
        <translation>Analoges Audio</translation>
    </message>
    <message>
        <source>Special Data</source>
        <translation>Sonderdaten</translation>
    </message>
    <message>
        <source>Decoded Text</source>
        <translation>Dekodierter Text</translation>
    </message>
    <message>
        <source>Spectrum</source>
        <translation>Spektrum</translation>
    </message>
    <message>
        <source>Tuner Spectrum</source>
        <translation>Tunerspektrum</translation>
    </message>
    <message>
        <source>Tuner Polychrome Spectrum</source>
        <translation>Polychromes Tunerspektrum</translation>
    </message>
    <message>
        <source>Segmentation Spectrum</source>
        <translation>Segmentierungsspektrum</translation>
    </message>
    <message>
        <source>Time Domain</source>
        <translation>Zeitbereich</translation>
    </message>
    <message>
        <source>I/Q Data</source>
        <translation>I/Q-Daten</translation>
    </message>
    <message>
        <source>Emission List</source>
        <translation>Emissionsliste</translation>
    </message>
    <message>
        <source>Detector Spectrum</source>
        <translation>Detektorspektrum</translation>
    </message>
    <message>
        <source>Detector Threshold</source>
        <translation>Detektorschwelle</translation>
    </message>
    <message>
        <source>Burst Data</source>
        <translation>Burstdaten</translation>
    </message>
    <message>
        <source>Emission List Burst</source>
        <translation>Emissionsliste Bursts</translation>
    </message>
    <message>
        <source>Analyzed Burst Info</source>
        <translation>Analysierte Bursts</translation>
    </message>
    <message>
        <source>Histogram</source>
        <translation>Histogramm</translation>
    </message>
    <message>
        <source>HopDensity</source>
        <translation>Sprungdichte</translation>
    </message>
    <message>
        <source>Raw Data</source>
        <translation>Rohdaten</translation>
    </message>
    <message>
        <source>QM410 Data</source>
        <translation>QM410-Daten</translation>
    </message>
</context>
<context>
    <name>WhyNot</name>
    <message>
        <source>It can be had: rank %1 of %2 on its server, cost %3%4.</source>
        <translation>Er ist zu haben: Rang %1 von %2 auf seinem Server, Kosten %3%4.</translation>
    </message>
    <message>
        <source>Why not %1?  </source>
        <translation>Warum nicht %1?  </translation>
    </message>
    <message>
        <source>Its server is not there any more.</source>
        <translation>Sein Server ist nicht mehr da.</translation>
    </message>
    <message>
        <source>Refused: the order is for %1.</source>
        <translation>Abgewiesen: der Auftrag gilt %1.</translation>
    </message>
    <message>
        <source>Nothing can be ordered: %1.</source>
        <translation>Nichts kann bestellt werden: %1.</translation>
    </message>
    <message>
        <source>Refused: %1.</source>
        <translation>Abgelehnt: %1.</translation>
    </message>
    <message>
        <source>It can be had; nothing that excludes it has been ordered yet.</source>
        <translation>Er ist zu haben; noch ist nichts bestellt, was ihn ausschließt.</translation>
    </message>
    <message>
        <source>It is not of class %1, but could be taken by itself.</source>
        <translation>Er ist nicht von der Klasse %1, ließe sich aber für sich nehmen.</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::AssignmentMatrix</name>
    <message>
        <source>no cover</source>
        <translation>außer Reichweite</translation>
    </message>
    <message>
        <source>new</source>
        <translation>neu</translation>
    </message>
    <message>
        <source>taken off</source>
        <translation>entfernt</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1 %</translation>
    </message>
    <message>
        <source>assigned</source>
        <translation>zugeordnet</translation>
    </message>
    <message>
        <source>not assigned</source>
        <translation>nicht zugeordnet</translation>
    </message>
    <message>
        <source>%1 (not enabled)</source>
        <translation>%1 (nicht freigegeben)</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::AssignmentsView</name>
    <message>
        <source>Undo</source>
        <translation>Zurücknehmen</translation>
    </message>
    <message>
        <source>Assignments</source>
        <translation>Zuordnungen</translation>
    </message>
    <message>
        <source>Space: on or off · Ctrl+Space: whole column · Shift+Space: whole row · no cover: the tuner does not reach the profile</source>
        <translation>Leertaste: an oder aus · Strg+Leertaste: ganze Spalte · Umschalt+Leertaste: ganze Zeile · außer Reichweite: der Tuner erreicht das Profil nicht</translation>
    </message>
    <message numerus="yes">
        <source>Send %n change(s)</source>
        <translation>
            <numerusform>%n Änderung senden</numerusform>
            <numerusform>%n Änderungen senden</numerusform>
        </translation>
    </message>
    <message>
        <source>Nothing has changed.</source>
        <translation>Nichts ist geändert.</translation>
    </message>
    <message>
        <source>assignment of %1</source>
        <translation>Zuordnung von %1</translation>
    </message>
    <message>
        <source>Filter: FFP 1, hopper, !burst</source>
        <translation>Filter: FFP 1, hopper, !burst</translation>
    </message>
    <message>
        <source>Filter of assignments</source>
        <translation>Filter der Zuordnungen</translation>
    </message>
    <message>
        <source>Send the assignments</source>
        <translation>Zuordnungen senden</translation>
    </message>
    <message>
        <source>Undo the ticks</source>
        <translation>Haken zurücknehmen</translation>
    </message>
    <message>
        <source>There is no profile yet: make one under Profiles.</source>
        <translation>Es gibt noch kein Profil: Legen Sie unter Profile eines an.</translation>
    </message>
    <message>
        <source>No FFP runs on %1 that could look for a profile: start one on the page Order.</source>
        <translation>Auf %1 läuft kein FFP, der nach einem Profil suchen könnte: Starten Sie einen auf der Seite Auftrag.</translation>
    </message>
    <message>
        <source>Neither an FFP nor a profile matches &quot;%1&quot;.</source>
        <translation>Weder ein FFP noch ein Profil passt zu &quot;%1&quot;.</translation>
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
            <numerusform>%n Profil</numerusform>
            <numerusform>%n Profile</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n change(s) not sent</source>
        <translation>
            <numerusform>%n Änderung nicht gesendet</numerusform>
            <numerusform>%n Änderungen nicht gesendet</numerusform>
        </translation>
    </message>
    <message>
        <source>They are being sent.</source>
        <translation>Sie werden gesendet.</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ProfileEditor</name>
    <message>
        <source>not in use</source>
        <translation>unbenutzt</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>Typ</translation>
    </message>
    <message>
        <source>of the profile</source>
        <translation>des Profils</translation>
    </message>
    <message>
        <source>changed by others at %1</source>
        <translation>von anderen geändert um %1</translation>
    </message>
    <message>
        <source>removed here at %1, Save puts it back</source>
        <translation>hier entfernt um %1, Speichern legt es wieder an</translation>
    </message>
    <message>
        <source>removed by others at %1</source>
        <translation>von anderen entfernt um %1</translation>
    </message>
    <message>
        <source>New profile</source>
        <translation>Neues Profil</translation>
    </message>
    <message>
        <source>changed, not saved</source>
        <translation>geändert, nicht gespeichert</translation>
    </message>
    <message>
        <source>A field cannot be read.</source>
        <translation>Ein Feld ist nicht lesbar.</translation>
    </message>
    <message>
        <source>Nothing has changed.</source>
        <translation>Nichts ist geändert.</translation>
    </message>
    <message>
        <source>Field</source>
        <translation>Feld</translation>
    </message>
    <message>
        <source>Mine</source>
        <translation>Meines</translation>
    </message>
    <message>
        <source>Theirs</source>
        <translation>Ihres</translation>
    </message>
    <message>
        <source>Where mine and theirs differ</source>
        <translation>Worin sich meines und ihres unterscheiden</translation>
    </message>
    <message>
        <source>being saved</source>
        <translation>wird gespeichert</translation>
    </message>
    <message>
        <source>It is being saved.</source>
        <translation>Es wird gerade gespeichert.</translation>
    </message>
    <message>
        <source>changed, not saved: %1</source>
        <translation>geändert, nicht gespeichert: %1</translation>
    </message>
    <message>
        <source>whole numbers, in the unit in which the processors count</source>
        <translation>ganze Zahlen, in der Einheit, in der die Prozessoren zählen</translation>
    </message>
    <message>
        <source>The profile has no name.</source>
        <translation>Das Profil hat keinen Namen.</translation>
    </message>
    <message>
        <source>Others have changed it: take theirs or keep mine first.</source>
        <translation>Andere haben es geändert: erst deren Stand nehmen oder Meines behalten.</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ProfileFields</name>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Duration (processors&apos; unit)</source>
        <translation>Dauer (Prozessoreinheit)</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>Typ</translation>
    </message>
    <message>
        <source>a profile needs a name</source>
        <translation>ein Profil braucht einen Namen</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ProfileImport</name>
    <message>
        <source>not in use</source>
        <translation>unbenutzt</translation>
    </message>
    <message>
        <source>changed: %1, %2</source>
        <translation>geändert: %1, %2</translation>
    </message>
    <message>
        <source>refused: %1</source>
        <translation>abgelehnt: %1</translation>
    </message>
    <message>
        <source>the name is there twice</source>
        <translation>der Name kommt zweimal vor</translation>
    </message>
    <message>
        <source>a value is not understood, see below</source>
        <translation>ein Wert ist unverständlich, siehe unten</translation>
    </message>
    <message>
        <source>new: %1</source>
        <translation>neu: %1</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ProfileSaving</name>
    <message>
        <source>%1 has gone; it may have happened</source>
        <translation>%1 ist nicht mehr da; es kann geschehen sein</translation>
    </message>
    <message>
        <source>others have changed it meanwhile</source>
        <translation>andere haben es inzwischen geändert</translation>
    </message>
    <message>
        <source>type of profile %1</source>
        <translation>Typ des Profils %1</translation>
    </message>
    <message>
        <source>assignment of %1</source>
        <translation>Zuordnung von %1</translation>
    </message>
    <message>
        <source>%1 is still there: %2</source>
        <translation>%1 ist noch da: %2</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ProfilesView</name>
    <message>
        <source>No server is chosen.</source>
        <translation>Kein Server ist gewählt.</translation>
    </message>
    <message>
        <source>%1 is away, or has no such data.</source>
        <translation>%1 ist weg oder hat solche Daten nicht.</translation>
    </message>
    <message>
        <source>New</source>
        <translation>Neu</translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>Profiles</source>
        <translation>Profile</translation>
    </message>
    <message numerus="yes">
        <source>%n profile(s)</source>
        <translation>
            <numerusform>%n Profil</numerusform>
            <numerusform>%n Profile</numerusform>
        </translation>
    </message>
    <message>
        <source>in use by no FFP</source>
        <translation>von keinem FFP benutzt</translation>
    </message>
    <message numerus="yes">
        <source>in use by %n FFP(s)</source>
        <translation>
            <numerusform>benutzt von %n FFP</numerusform>
            <numerusform>benutzt von %n FFPs</numerusform>
        </translation>
    </message>
    <message>
        <source>profile %1 of %2 is not saved: %3</source>
        <translation>Profil %1 von %2 ist nicht gespeichert: %3</translation>
    </message>
    <message>
        <source>profile %1 of %2: %3</source>
        <translation>Profil %1 von %2: %3</translation>
    </message>
    <message>
        <source>profile %1 of %2 is not removed: %3</source>
        <translation>Profil %1 von %2 ist nicht entfernt: %3</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <source>Undo</source>
        <translation>Zurücknehmen</translation>
    </message>
    <message>
        <source>Compare</source>
        <translation>Vergleichen</translation>
    </message>
    <message>
        <source>Take theirs</source>
        <translation>Deren Stand nehmen</translation>
    </message>
    <message>
        <source>Keep mine</source>
        <translation>Meines behalten</translation>
    </message>
    <message>
        <source>Filter: hopper, FSK2, 30-88 MHz, !burst</source>
        <translation>Filter: hopper, FSK2, 30-88 MHz, !burst</translation>
    </message>
    <message>
        <source>Filter of profiles</source>
        <translation>Filter der Profile</translation>
    </message>
    <message>
        <source>Others have changed nothing of it meanwhile.</source>
        <translation>Andere haben inzwischen nichts daran geändert.</translation>
    </message>
    <message numerus="yes">
        <source>%1 of %n profile(s)</source>
        <translation>
            <numerusform>%1 von %n Profil</numerusform>
            <numerusform>%1 von %n Profilen</numerusform>
        </translation>
    </message>
    <message>
        <source>No profile matches &quot;%1&quot;.</source>
        <translation>Kein Profil passt zu &quot;%1&quot;.</translation>
    </message>
    <message>
        <source>There is no profile yet: make one below and save it, or import a file that has some.</source>
        <translation>Es gibt noch kein Profil: Legen Sie unten eines an und speichern Sie es, oder lesen Sie eine Datei mit Profilen ein.</translation>
    </message>
    <message>
        <source>There is a profile of that name.</source>
        <translation>Es gibt ein Profil dieses Namens.</translation>
    </message>
    <message>
        <source>A profile is being saved.</source>
        <translation>Ein Profil wird gespeichert.</translation>
    </message>
    <message>
        <source>No profile is selected.</source>
        <translation>Kein Profil ist gewählt.</translation>
    </message>
    <message>
        <source>Save or undo what is typed first.</source>
        <translation>Speichern Sie zuerst, was eingegeben ist, oder nehmen Sie es zurück.</translation>
    </message>
    <message>
        <source>Remove %1? It is %2.</source>
        <translation>%1 entfernen? Es ist %2.</translation>
    </message>
    <message>
        <source>There is no profile %1.</source>
        <translation>Es gibt kein Profil %1.</translation>
    </message>
    <message>
        <source>The page of short-time data shows %1; choose %2 there first.</source>
        <translation>Die Seite der Kurzzeitdaten zeigt %1; wählen Sie dort zuerst %2.</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ProfileImportView</name>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Difference</source>
        <translation>Unterschied</translation>
    </message>
    <message>
        <source>Now</source>
        <translation>Jetzt</translation>
    </message>
    <message>
        <source>Becomes</source>
        <translation>Wird</translation>
    </message>
    <message>
        <source>What the file would change</source>
        <translation>Was die Datei ändern würde</translation>
    </message>
    <message>
        <source>profiles are not imported: %1</source>
        <translation>Profile sind nicht eingelesen: %1</translation>
    </message>
    <message>
        <source>Import of %1: nothing differs</source>
        <translation>Einlesen von %1: kein Unterschied</translation>
    </message>
    <message>
        <source>Import of %1</source>
        <translation>Einlesen von %1</translation>
    </message>
    <message>
        <source>Import %1 of %2</source>
        <translation>%1 von %2 einlesen</translation>
    </message>
    <message numerus="yes">
        <source>%n profile(s) of %1 imported</source>
        <translation>
            <numerusform>%n Profil aus %1 eingelesen</numerusform>
            <numerusform>%n Profile aus %1 eingelesen</numerusform>
        </translation>
    </message>
    <message>
        <source>profiles are not imported yet: other values are there by now, see what differs</source>
        <translation>Profile sind noch nicht eingelesen: inzwischen sind andere Werte da, siehe die Unterschiede</translation>
    </message>
    <message>
        <source>%1 of %2 profiles of %3 imported: %4</source>
        <translation>%1 von %2 Profilen aus %3 eingelesen: %4</translation>
    </message>
    <message>
        <source>%1 has gone</source>
        <translation>%1 ist nicht mehr da</translation>
    </message>
    <message>
        <source>Import the file</source>
        <translation>Datei einlesen</translation>
    </message>
    <message>
        <source>Cancel the import</source>
        <translation>Einlesen abbrechen</translation>
    </message>
    <message>
        <source>No file is open: Import… opens one.</source>
        <translation>Keine Datei ist offen: Einlesen … öffnet eine.</translation>
    </message>
    <message>
        <source>The file has nothing that differs and can be taken over.</source>
        <translation>Die Datei hat nichts, was anders ist und übernommen werden kann.</translation>
    </message>
    <message>
        <source>Import…</source>
        <translation>Einlesen …</translation>
    </message>
    <message>
        <source>Import profiles</source>
        <translation>Profile einlesen</translation>
    </message>
    <message>
        <source>Profiles (*.xml)</source>
        <translation>Profile (*.xml)</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ProfileRows</name>
    <message>
        <source>In use by</source>
        <translation>Benutzt von</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ResultsPlot</name>
    <message>
        <source>Results over time and frequency</source>
        <translation>Ergebnisse über Zeit und Frequenz</translation>
    </message>
    <message>
        <source>Earlier (←)</source>
        <translation>Früher (←)</translation>
    </message>
    <message>
        <source>Later (→)</source>
        <translation>Später (→)</translation>
    </message>
    <message>
        <source>Zoom in (+)</source>
        <translation>Vergrößern (+)</translation>
    </message>
    <message>
        <source>Zoom out (−)</source>
        <translation>Verkleinern (−)</translation>
    </message>
    <message>
        <source>Show all (0)</source>
        <translation>Alles zeigen (0)</translation>
    </message>
    <message>
        <source>Start (UTC)</source>
        <translation>Beginn (UTC)</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ResultsView</name>
    <message>
        <source>none matches</source>
        <translation>keines passt</translation>
    </message>
    <message>
        <source>Follow</source>
        <translation>Folgen</translation>
    </message>
    <message>
        <source>Results</source>
        <translation>Ergebnisse</translation>
    </message>
    <message>
        <source>%1 of %2 results</source>
        <translation>%1 von %2 Ergebnissen</translation>
    </message>
    <message>
        <source>others: %1</source>
        <translation>andere: %1</translation>
    </message>
    <message>
        <source>The newest result stays in sight already.</source>
        <translation>Das neueste Ergebnis bleibt schon im Blick.</translation>
    </message>
    <message>
        <source>Nothing has been found yet: results come once an FFP looks for a profile, see Assignments.</source>
        <translation>Noch wurde nichts gefunden: Ergebnisse kommen, sobald ein FFP nach einem Profil sucht, siehe Zuordnungen.</translation>
    </message>
    <message>
        <source>Filter: hopper, 98 MHz, !burst</source>
        <translation>Filter: hopper, 98 MHz, !burst</translation>
    </message>
    <message>
        <source>Filter of results</source>
        <translation>Filter der Ergebnisse</translation>
    </message>
    <message>
        <source>No result matches &quot;%1&quot;.</source>
        <translation>Kein Ergebnis passt zu &quot;%1&quot;.</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ServerActions</name>
    <message>
        <source>Restart the server…</source>
        <translation>Server neu starten…</translation>
    </message>
    <message>
        <source>Restart %1? All that runs on it ends.</source>
        <translation>%1 neu starten? Alles, was darauf läuft, endet.</translation>
    </message>
    <message>
        <source>End the server…</source>
        <translation>Server beenden…</translation>
    </message>
    <message>
        <source>End %1? All that runs on it ends too.</source>
        <translation>%1 beenden? Alles, was darauf läuft, endet auch.</translation>
    </message>
    <message>
        <source>Show %1 alone</source>
        <translation>Nur %1 zeigen</translation>
    </message>
    <message>
        <source>No server is selected.</source>
        <translation>Kein Server ist ausgewählt.</translation>
    </message>
    <message>
        <source>%1 is away.</source>
        <translation>%1 ist nicht da.</translation>
    </message>
    <message>
        <source>Show the links</source>
        <translation>Verbindungen zeigen</translation>
    </message>
    <message>
        <source>Stop all on the server…</source>
        <translation>Alles auf dem Server beenden…</translation>
    </message>
    <message>
        <source>Nothing runs on %1.</source>
        <translation>Auf %1 läuft nichts.</translation>
    </message>
    <message>
        <source>Stop all that runs on %1?</source>
        <translation>Alles beenden, was auf %1 läuft?</translation>
    </message>
    <message>
        <source>Stop all</source>
        <translation>Alles beenden</translation>
    </message>
    <message>
        <source>Switch power…</source>
        <translation>Strom schalten…</translation>
    </message>
    <message>
        <source>End it</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>Restart</source>
        <translation>Neu starten</translation>
    </message>
    <message>
        <source>%1, operated by %2</source>
        <translation>%1, bedient von %2</translation>
    </message>
    <message>
        <source>No unit has a switch</source>
        <translation>Keine Einheit hat einen Schalter</translation>
    </message>
    <message>
        <source>Switch %1 off…</source>
        <translation>%1 ausschalten…</translation>
    </message>
    <message>
        <source>Switch %1 on</source>
        <translation>%1 einschalten</translation>
    </message>
    <message>
        <source>Switch %1 of %2 off? What runs on it may end.</source>
        <translation>%1 von %2 ausschalten? Was darauf läuft, kann enden.</translation>
    </message>
    <message>
        <source>Switch off</source>
        <translation>Ausschalten</translation>
    </message>
    <message>
        <source>switch %1 on</source>
        <translation>%1 einschalten</translation>
    </message>
    <message>
        <source>switch %1 off</source>
        <translation>%1 ausschalten</translation>
    </message>
    <message>
        <source>stop all</source>
        <translation>alles beenden</translation>
    </message>
    <message>
        <source>end the server</source>
        <translation>Server beenden</translation>
    </message>
    <message>
        <source>restart the server</source>
        <translation>Server neu starten</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ShortTimePage</name>
    <message>
        <source>Server</source>
        <translation>Server</translation>
    </message>
    <message>
        <source>Profiles</source>
        <translation>Profile</translation>
    </message>
    <message>
        <source>Assignments</source>
        <translation>Zuordnungen</translation>
    </message>
    <message>
        <source>Results</source>
        <translation>Ergebnisse</translation>
    </message>
    <message>
        <source>Conversions</source>
        <translation>Umwandlungen</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::ConversionsView</name>
    <message>
        <source>failed ones too</source>
        <translation>auch fehlgeschlagene</translation>
    </message>
    <message>
        <source>Conversions</source>
        <translation>Umwandlungen</translation>
    </message>
    <message>
        <source>SUBSYSTEM/DEVICE/RECORD</source>
        <translation>SYSTEM/GERÄT/AUFZEICHNUNG</translation>
    </message>
    <message>
        <source>what is to come of it</source>
        <translation>was daraus werden soll</translation>
    </message>
    <message>
        <source>name of the production</source>
        <translation>Name der Produktion</translation>
    </message>
    <message>
        <source>what came of it</source>
        <translation>was daraus wurde</translation>
    </message>
    <message>
        <source>Record</source>
        <translation>Aufzeichnung</translation>
    </message>
    <message>
        <source>Result type</source>
        <translation>Ergebnisart</translation>
    </message>
    <message>
        <source>Production</source>
        <translation>Produktion</translation>
    </message>
    <message>
        <source>Result</source>
        <translation>Ergebnis</translation>
    </message>
    <message>
        <source>Results to keep</source>
        <translation>Ergebnisse behalten</translation>
    </message>
    <message>
        <source>Tidy up failed conversions too</source>
        <translation>Auch fehlgeschlagene Umwandlungen aufräumen</translation>
    </message>
    <message>
        <source>Convert</source>
        <translation>Umwandeln</translation>
    </message>
    <message>
        <source>Finish</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>Finish as failed</source>
        <translation>Als fehlgeschlagen beenden</translation>
    </message>
    <message>
        <source>Tidy up</source>
        <translation>Aufräumen</translation>
    </message>
    <message>
        <source>Which record? It is named as SUBSYSTEM/DEVICE/RECORD.</source>
        <translation>Welche Aufzeichnung? Sie heißt SYSTEM/GERÄT/AUFZEICHNUNG.</translation>
    </message>
    <message>
        <source>%1 is being converted already.</source>
        <translation>%1 wird schon umgewandelt.</translation>
    </message>
    <message>
        <source>Nothing is selected.</source>
        <translation>Nichts ist ausgewählt.</translation>
    </message>
    <message>
        <source>%1 is not being converted.</source>
        <translation>%1 wird nicht umgewandelt.</translation>
    </message>
    <message>
        <source>No finished conversion is more than is to be kept.</source>
        <translation>Keine beendete Umwandlung ist mehr als zu behalten.</translation>
    </message>
    <message>
        <source>conversion of %1</source>
        <translation>Umwandlung von %1</translation>
    </message>
    <message numerus="yes">
        <source>%n result(s) of conversions erased on %1</source>
        <translation>
            <numerusform>%n Ergebnis von Umwandlungen auf %1 gelöscht</numerusform>
            <numerusform>%n Ergebnisse von Umwandlungen auf %1 gelöscht</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n conversion(s), %1</source>
        <translation>
            <numerusform>%n Umwandlung, %1</numerusform>
            <numerusform>%n Umwandlungen, %1</numerusform>
        </translation>
    </message>
    <message>
        <source>No recording is being converted, nor has one been: name one in the field Record and press Convert.</source>
        <translation>Keine Aufzeichnung wird oder wurde umgewandelt: Nennen Sie eine im Feld Aufzeichnung und drücken Sie Umwandeln.</translation>
    </message>
    <message>
        <source>Filter: failed, disk-1, !video</source>
        <translation>Filter: gescheitert, disk-1, !video</translation>
    </message>
    <message>
        <source>Filter of conversions</source>
        <translation>Filter der Umwandlungen</translation>
    </message>
    <message>
        <source>No conversion matches &quot;%1&quot;.</source>
        <translation>Keine Umwandlung passt zu &quot;%1&quot;.</translation>
    </message>
    <message>
        <source>%1 of %2 conversions</source>
        <translation>%1 von %2 Umwandlungen</translation>
    </message>
    <message>
        <source>beginning of %1</source>
        <translation>Beginn von %1</translation>
    </message>
    <message>
        <source>end of %1</source>
        <translation>Ende von %1</translation>
    </message>
    <message>
        <source>tidying</source>
        <translation>Aufräumen</translation>
    </message>
    <message>
        <source>conversions of %1, %2: %3</source>
        <translation>Konvertierungen von %1, %2: %3</translation>
    </message>
</context>
<context>
    <name>KoltaConsole::FilterBar</name>
    <message>
        <source>Clear the filter</source>
        <translation>Filter leeren</translation>
    </message>
</context>
<context>
    <name>QPlatformTheme</name>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>QShortcut</name>
    <message>
        <source>Ctrl</source>
        <translation>Strg</translation>
    </message>
    <message>
        <source>Shift</source>
        <translation>Umschalt</translation>
    </message>
    <message>
        <source>Alt</source>
        <translation>Alt</translation>
    </message>
    <message>
        <source>Del</source>
        <translation>Entf</translation>
    </message>
    <message>
        <source>Return</source>
        <translation>Eingabe</translation>
    </message>
    <message>
        <source>Esc</source>
        <translation>Esc</translation>
    </message>
</context>
<context>
    <name>distribution::Texts</name>
    <message>
        <source>it was removed or cut while it was written</source>
        <translation>sie wurde entfernt oder gekürzt, während sie geschrieben wurde</translation>
    </message>
    <message>
        <source>the broker admits nobody without user and password</source>
        <translation>der Broker lässt niemanden ohne Benutzer und Passwort zu</translation>
    </message>
    <message>
        <source>the broker does not admit the user &quot;%1&quot; with this password</source>
        <translation>der Broker lässt den Benutzer „%1“ mit diesem Passwort nicht zu</translation>
    </message>
    <message>
        <source>the broker does not speak MQTT 5</source>
        <translation>der Broker spricht kein MQTT 5</translation>
    </message>
    <message>
        <source>the broker refuses the connection: %1</source>
        <translation>der Broker weist die Verbindung ab: %1</translation>
    </message>
    <message>
        <source>another program has taken over the connection</source>
        <translation>ein anderes Programm hat die Verbindung übernommen</translation>
    </message>
    <message>
        <source>the broker ends the connection: %1</source>
        <translation>der Broker beendet die Verbindung: %1</translation>
    </message>
    <message>
        <source>no memory</source>
        <translation>kein Speicher</translation>
    </message>
    <message>
        <source>the will cannot be set</source>
        <translation>der letzte Wille lässt sich nicht setzen</translation>
    </message>
    <message>
        <source>cannot read the password file %1: %2</source>
        <translation>die Passwortdatei %1 ist nicht lesbar: %2</translation>
    </message>
    <message>
        <source>the user&apos;s name is no text</source>
        <translation>der Name des Benutzers ist kein Text</translation>
    </message>
    <message>
        <source>the host is not known: %1</source>
        <translation>der Rechner ist unbekannt: %1</translation>
    </message>
    <message>
        <source>the broker breaks the TLS connection off</source>
        <translation>der Broker bricht die TLS-Verbindung ab</translation>
    </message>
    <message>
        <source>no TLS connection comes about</source>
        <translation>es kommt keine TLS-Verbindung zustande</translation>
    </message>
    <message>
        <source>the broker does not answer</source>
        <translation>der Broker antwortet nicht</translation>
    </message>
    <message>
        <source>the connection was lost</source>
        <translation>die Verbindung ist abgerissen</translation>
    </message>
    <message>
        <source>the broker ends the connection without an answer</source>
        <translation>der Broker beendet die Verbindung ohne Antwort</translation>
    </message>
    <message>
        <source>%1: no answer within %2 s</source>
        <translation>%1: keine Antwort innerhalb von %2 s</translation>
    </message>
    <message>
        <source>%1: the broker does not keep up</source>
        <translation>%1: der Broker kommt nicht nach</translation>
    </message>
    <message>
        <source>unknown error</source>
        <translation>unbekannter Fehler</translation>
    </message>
    <message>
        <source>cannot use the authorities in %1: %2</source>
        <translation>die Zertifizierungsstellen in %1 sind nicht verwendbar: %2</translation>
    </message>
    <message>
        <source>cannot use the certificate %1: %2</source>
        <translation>das Zertifikat %1 ist nicht verwendbar: %2</translation>
    </message>
    <message>
        <source>cannot use the key %1: %2</source>
        <translation>der Schlüssel %1 ist nicht verwendbar: %2</translation>
    </message>
    <message>
        <source>the broker&apos;s certificate has expired</source>
        <translation>das Zertifikat des Brokers ist abgelaufen</translation>
    </message>
    <message>
        <source>the broker&apos;s certificate is not valid yet</source>
        <translation>das Zertifikat des Brokers gilt noch nicht</translation>
    </message>
    <message>
        <source>the broker&apos;s certificate is not for the host %1</source>
        <translation>das Zertifikat des Brokers gilt nicht für den Rechner %1</translation>
    </message>
    <message>
        <source>the broker&apos;s certificate is not signed by a trusted authority</source>
        <translation>das Zertifikat des Brokers ist von keiner vertrauten Stelle unterschrieben</translation>
    </message>
    <message>
        <source>the broker&apos;s certificate is refused: %1</source>
        <translation>das Zertifikat des Brokers wird abgelehnt: %1</translation>
    </message>
    <message>
        <source>it is no recording</source>
        <translation>sie ist keine Aufzeichnung</translation>
    </message>
    <message>
        <source>it is a recording of version %1, expected %2</source>
        <translation>sie ist eine Aufzeichnung der Version %1, erwartet ist %2</translation>
    </message>
    <message>
        <source>it was cut off before anything was recorded</source>
        <translation>sie bricht ab, bevor etwas aufgezeichnet war</translation>
    </message>
    <message>
        <source>the recording was not ended: its recorder was killed or could not go on, or still runs</source>
        <translation>die Aufzeichnung wurde nicht beendet: das aufzeichnende Programm wurde abgebrochen, konnte nicht weiter oder läuft noch</translation>
    </message>
    <message>
        <source>the recording is cut off or damaged at byte %1: the last %2 bytes are not played</source>
        <translation>die Aufzeichnung ist bei Byte %1 abgeschnitten oder beschädigt: die letzten %2 Bytes werden nicht abgespielt</translation>
    </message>
    <message>
        <source>the recording was cut off or changed at byte %1 while it was played</source>
        <translation>die Aufzeichnung wurde bei Byte %1 abgeschnitten oder verändert, während sie abgespielt wurde</translation>
    </message>
    <message>
        <source>cannot be made</source>
        <translation>lässt sich nicht anlegen</translation>
    </message>
    <message>
        <source>cannot be written</source>
        <translation>lässt sich nicht schreiben</translation>
    </message>
    <message>
        <source>cannot be shortened</source>
        <translation>lässt sich nicht kürzen</translation>
    </message>
    <message>
        <source>somebody else listens to this replay already</source>
        <translation>diese Wiedergabe hat schon einen Zuhörer</translation>
    </message>
    <message>
        <source>found &quot;%1&quot;, expected %2 with a speed of at most %3</source>
        <translation>gefunden: „%1“, erwartet: %2 mit einer Geschwindigkeit von höchstens %3</translation>
    </message>
    <message>
        <source>found &quot;%1&quot;, expected begin, end, a time such as 12:03:10 or +SECONDS</source>
        <translation>gefunden: „%1“, erwartet: begin, end, eine Uhrzeit wie 12:03:10 oder +SEKUNDEN</translation>
    </message>
    <message>
        <source>%1 was not recorded, %2 to %3 was</source>
        <translation>%1 ist nicht aufgezeichnet, wohl aber %2 bis %3</translation>
    </message>
    <message>
        <source>found &quot;%1&quot;, expected %2</source>
        <translation>gefunden: „%1“, erwartet: %2</translation>
    </message>
    <message>
        <source>a prefix of topic levels without &quot;+&quot;, &quot;#&quot; and &quot;$&quot;</source>
        <translation>ein Präfix aus Topic-Ebenen ohne „+“, „#“ und „$“</translation>
    </message>
    <message>
        <source> or %1</source>
        <translation> oder %1</translation>
    </message>
    <message>
        <source>a password does not belong on a command line; put it into a file, and name that in the configuration as PasswordFile of the group Distribution</source>
        <translation>ein Passwort gehört nicht auf die Kommandozeile; es gehört in eine Datei, deren Name in der Konfiguration als PasswordFile der Gruppe Distribution steht</translation>
    </message>
    <message>
        <source>the prefix &quot;%1&quot; cannot be used: expected topic levels without &quot;+&quot;, &quot;#&quot; and &quot;$&quot;</source>
        <translation>das Präfix „%1“ ist nicht verwendbar: erwartet sind Topic-Ebenen ohne „+“, „#“ und „$“</translation>
    </message>
    <message>
        <source>the user &quot;%1&quot; cannot be used: names with +, #, / or characters that nobody sees are no part of a topic</source>
        <translation>der Benutzer „%1“ ist nicht verwendbar: Namen mit +, #, / oder unsichtbaren Zeichen sind kein Teil eines Topics</translation>
    </message>
    <message>
        <source>this is a recording, in which nothing can be changed</source>
        <translation>dies ist eine Aufzeichnung, in der sich nichts ändern lässt</translation>
    </message>
    <message>
        <source>no owner was there</source>
        <translation>es gab keinen Besitzer</translation>
    </message>
    <message>
        <source>the owner was restarted before it answered</source>
        <translation>der Besitzer ist neu gestartet, bevor er geantwortet hat</translation>
    </message>
    <message>
        <source>the owner has left</source>
        <translation>der Besitzer hat sich verabschiedet</translation>
    </message>
    <message>
        <source>: the link has ended before it was sent</source>
        <translation>: die Verbindung ging zu Ende, bevor es gesendet war</translation>
    </message>
    <message>
        <source>: the owner&apos;s content is not here yet</source>
        <translation>: der Inhalt des Besitzers ist noch nicht da</translation>
    </message>
    <message>
        <source>: its owner is not there</source>
        <translation>: sein Besitzer ist nicht da</translation>
    </message>
    <message>
        <source>: collections are made by their owner</source>
        <translation>: Sammlungen legt ihr Besitzer an</translation>
    </message>
    <message>
        <source>, the outcome is unknown</source>
        <translation>, der Ausgang ist unbekannt</translation>
    </message>
    <message>
        <source>the link has ended, the outcome is unknown</source>
        <translation>die Verbindung ist zu Ende, der Ausgang ist unbekannt</translation>
    </message>
    <message>
        <source>the link has ended before it was sent</source>
        <translation>die Verbindung ging zu Ende, bevor es gesendet war</translation>
    </message>
    <message>
        <source>…: its path is too long</source>
        <translation>…: sein Pfad ist zu lang</translation>
    </message>
    <message>
        <source>: too large to be shared</source>
        <translation>: zu groß zum Teilen</translation>
    </message>
    <message>
        <source>too many changes wait for the owner</source>
        <translation>zu viele Änderungen warten auf den Besitzer</translation>
    </message>
    <message>
        <source>not answered in time, the outcome is unknown</source>
        <translation>nicht rechtzeitig beantwortet, der Ausgang ist unbekannt</translation>
    </message>
    <message>
        <source>could not be sent in time</source>
        <translation>ließ sich nicht rechtzeitig senden</translation>
    </message>
    <message>
        <source>the owner has forgotten this program, the outcome is unknown</source>
        <translation>der Besitzer hat dieses Programm vergessen, der Ausgang ist unbekannt</translation>
    </message>
    <message>
        <source>the owner had forgotten this program, it was not sent</source>
        <translation>der Besitzer hatte dieses Programm vergessen, es wurde nicht gesendet</translation>
    </message>
</context>
</TS>
