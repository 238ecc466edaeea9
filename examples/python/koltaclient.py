#!/usr/bin/env python3
"""A client of the XML protocol with nothing but Python's own library; docs/protocol.md says what it does and why.

    koltaclient.py HOST:PORT describe                  the server's description of itself
    koltaclient.py HOST:PORT send FILE [FILE...]       the messages in files, and the replies to them
    koltaclient.py HOST:PORT listen COUNT [COMPONENT]  so many broadcasts, of all components or of one

With --ca FILE the link is protected by TLS; --certificate FILE (with its key) says who asks. Exit codes: 0 done,
1 failed or answered with a fault, 2 wrong usage.
"""

import argparse
import socket
import ssl
import sys
import uuid
import xml.etree.ElementTree as ElementTree

MAX_MESSAGE_BYTES = 16 * 1024 * 1024
MAX_DEPTH = 64
QUERY, COMMAND, QUERY_REPLY, COMMAND_REPLY, BROADCAST = 1, 2, 3, 4, 5


class ProtocolError(Exception):
    """The peer sent what is no message; the link is of no use any more."""


class FrameReader:
    """Whole messages out of the bytes of a stream: LF # size LF bytes, one or more times, then LF # # LF."""

    def __init__(self, receive):
        self._receive = receive
        self._bytes = b""

    def _take(self, count):
        while len(self._bytes) < count:
            more = self._receive(65536)
            if not more:
                raise ProtocolError("the peer closed the link")
            self._bytes += more
        taken, self._bytes = self._bytes[:count], self._bytes[count:]
        return taken

    def _expect(self, wanted):
        found = self._take(len(wanted))
        if found != wanted:
            raise ProtocolError("found %r, expected %r" % (found, wanted))

    def _chunk_size(self):
        digits = self._take(1)
        if digits not in b"123456789":
            raise ProtocolError("found %r, expected a digit from 1 to 9" % digits)
        while True:
            digit = self._take(1)
            if digit == b"\n":
                return int(digits)
            if digit not in b"0123456789" or len(digits) == 10:
                raise ProtocolError("found %r, expected a chunk size" % (digits + digit))
            digits += digit

    def next(self):
        chunks = []
        total = 0
        while True:
            self._expect(b"\n#")
            if chunks and self._peek() == b"#":
                self._expect(b"#\n")
                return b"".join(chunks)
            size = self._chunk_size()
            total += size
            if total > MAX_MESSAGE_BYTES:
                raise ProtocolError("a message of more than %d bytes" % MAX_MESSAGE_BYTES)
            chunks.append(self._take(size))

    def _peek(self):
        byte = self._take(1)
        self._bytes = byte + self._bytes
        return byte


def frame(message):
    return b"\n#%d\n%s\n##\n" % (len(message), message)


def number(element, name, largest, default=None):
    text = element.get(name, default)
    if text is None or not text.isascii() or not text.isdigit() or int(text) > largest:
        raise ProtocolError("%s/@%s: found %r, expected a number up to %d" % (element.tag, name, text, largest))
    return int(text)


def depth(element):
    deepest = 0
    stack = [(element, 1)]
    while stack:
        current, level = stack.pop()
        deepest = max(deepest, level)
        stack.extend((child, level + 1) for child in current)
    return deepest


def parse(text):
    """The root element of one message, which is what the protocol allows in its outer parts."""
    if b"<!DOCTYPE" in text:
        raise ProtocolError("a document type")
    try:
        root = ElementTree.fromstring(text.decode("utf-8"))
    except (ElementTree.ParseError, UnicodeDecodeError) as error:
        raise ProtocolError(str(error)) from error
    if root.tag != "Message" or depth(root) > MAX_DEPTH:
        raise ProtocolError("no message, or one of more than %d levels" % MAX_DEPTH)
    number(root, "id", 2**32 - 1)
    number(root, "service", 255)
    for fragment in root:
        if fragment.tag != "Fragment" or fragment.get("component") is None:
            raise ProtocolError("found %s, expected Fragment with a component" % fragment.tag)
        parts = [part.tag for part in fragment]
        if len(set(parts)) != len(parts) or not set(parts) <= {"Request", "Data", "Fault"}:
            raise ProtocolError("found %s in a fragment" % ", ".join(parts))
    return root


class Link:
    """One connection to a server. Replies to `ask`, broadcasts from `next_broadcast`."""

    def __init__(self, host, port, timeout=10.0, ca=None, certificate=None):
        self._socket = socket.create_connection((host, port), timeout)
        if ca:
            context = ssl.create_default_context(cafile=ca)
            context.minimum_version = ssl.TLSVersion.TLSv1_2
            if certificate:
                context.load_cert_chain(certificate)
            self._socket = context.wrap_socket(self._socket, server_hostname=host)
        self._reader = FrameReader(self._socket.recv)
        self._last_id = 0
        self._broadcasts = []
        # The first message of every client: requests need not be repeated in the replies.
        self.command("RequestTree", "<SetSuppression>true</SetSuppression>")

    def close(self):
        self._socket.close()

    def query(self, component, request):
        return self.ask(self._message(component, request), QUERY)

    def command(self, component, request):
        return self.ask(self._message(component, request), COMMAND)

    @staticmethod
    def _message(component, request):
        message = ElementTree.Element("Message")
        fragment = ElementTree.SubElement(message, "Fragment", component=component)
        ElementTree.SubElement(fragment, "Request").append(ElementTree.fromstring(request))
        return message

    def ask(self, message, service):
        """Sends a request with an ID of its own and returns the reply's fragments, one for each that asked."""
        self._last_id += 1
        message.set("id", str(self._last_id))
        message.set("service", str(service))
        if service == COMMAND:
            message.set("token", uuid.uuid4().hex)
        self._socket.sendall(frame(ElementTree.tostring(message, encoding="utf-8")))
        while True:
            reply = parse(self._reader.next())
            kind = int(reply.get("service"))
            if kind == BROADCAST:
                self._broadcasts.append(reply)
            elif kind == service + 2 and int(reply.get("id")) == self._last_id:
                return self._answers(message, reply)
            # What else comes answers nothing that was asked.

    @staticmethod
    def _answers(message, reply):
        # By component, wherever it stands; of several of one component in their order.
        left = list(reply)
        answers = []
        for asked in message:
            component = asked.get("component")
            answer = next((fragment for fragment in left if fragment.get("component") == component), None)
            if answer is None:
                raise ProtocolError("the reply has no fragment of component %s" % component)
            left.remove(answer)
            answers.append(answer)
        return answers

    def subscribe(self, component="*"):
        request = ElementTree.Element("Subscribe")
        ElementTree.SubElement(request, "Component").text = component
        return self.command("EventFilter", ElementTree.tostring(request))

    def next_broadcast(self):
        while not self._broadcasts:
            message = parse(self._reader.next())
            if int(message.get("service")) == BROADCAST:
                self._broadcasts.append(message)
        return self._broadcasts.pop(0)


def one_line(text):
    return "".join(character if character.isprintable() else "\ufffd" for character in text or "")


def fault_text(fault):
    texts = []
    while fault is not None:
        addenda = [one_line(addendum.text) for addendum in fault.findall("Addendum")]
        texts.append(" ".join(["fault %d" % number(fault, "id", 2**32 - 1)] + addenda))
        fault = fault.find("Fault")
    return ", caused by ".join(texts)


def print_fragments(fragments):
    """Prints what was answered; whether all of it was done."""
    done = True
    for fragment in fragments:
        fault = fragment.find("Fault")
        data = fragment.find("Data")
        if fault is not None:
            done = False
            print("%s: %s" % (one_line(fragment.get("component")), fault_text(fault)))
        elif data is not None:
            text = ElementTree.tostring(data[0], encoding="unicode")
            print("%s: %s" % (one_line(fragment.get("component")), one_line(text)))
        else:
            print("%s: done" % one_line(fragment.get("component")))
    return done


def describe(link, _arguments):
    fragment = link.query("Application", "<GetDescription/>")[0]
    description = fragment.find("Data/Description")
    if description is None:
        print_fragments([fragment])
        return False
    for part in description:
        print("%s: %s" % (part.tag, one_line(part.text)))
    return True


def send(link, arguments):
    done = True
    for name in arguments.file:
        message = ElementTree.parse(name).getroot()
        answers = link.ask(message, number(message, "service", 255))
        done = print_fragments(answers) and done
    return done


def listen(link, arguments):
    link.subscribe(arguments.component)
    for _ in range(arguments.count):
        print_fragments(link.next_broadcast())
    return True


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("server", metavar="HOST:PORT")
    parser.add_argument("--ca")
    parser.add_argument("--certificate")
    parser.add_argument("--timeout", type=float, default=10.0, help="seconds (10)")
    commands = parser.add_subparsers(required=True)
    commands.add_parser("describe").set_defaults(run=describe)
    sending = commands.add_parser("send")
    sending.add_argument("file", nargs="+")
    sending.set_defaults(run=send)
    listening = commands.add_parser("listen")
    listening.add_argument("count", type=int)
    listening.add_argument("component", nargs="?", default="*")
    listening.set_defaults(run=listen)
    arguments = parser.parse_args()
    host, _, port = arguments.server.rpartition(":")
    if not port.isdigit():
        parser.error("expected HOST:PORT")
    try:
        link = Link(host.strip("[]"), int(port), arguments.timeout, arguments.ca, arguments.certificate)
        try:
            return 0 if arguments.run(link, arguments) else 1
        finally:
            link.close()
    except (OSError, ProtocolError, ElementTree.ParseError) as error:
        print("koltaclient: %s" % one_line(str(error)), file=sys.stderr)
        return 1


if __name__ == "__main__":
    sys.exit(main())
