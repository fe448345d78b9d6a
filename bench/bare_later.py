#!/usr/bin/env python3
"""What a later check of a known mailbox costs a client that does nothing with the answers: the commands of ours, for a
mailbox in which the ten newest mails are new. Prints the wall ms of each step, and of all.
usage: bench/bare_later.py pop3|imap PORT USER [MODSEQ]     (the password is "secret")"""
import socket
import sys
import time

protocol, port, user = sys.argv[1], int(sys.argv[2]), sys.argv[3]
start = last = time.monotonic()
steps = []


def step(name):
    global last
    now = time.monotonic()
    steps.append(f"{name} {(now - last) * 1000:.0f}")
    last = now


line = socket.create_connection(("127.0.0.1", port))
line.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
held = b""


def until(is_end):
    """Reads up to a line that ends the reply; the lines before it."""
    global held
    lines = []
    while True:
        at = held.rfind(b"\n") + 1
        new, held = held[:at], held[at:]
        rest = new.split(b"\r\n")[:-1]
        for number, one in enumerate(rest):
            lines.append(one)
            if is_end(one):
                held = b"\r\n".join(rest[number + 1:] + [held])
                return lines
        piece = line.recv(65536)
        if not piece:
            return lines
        held += piece


def send(text):
    line.sendall(text.replace("\n", "\r\n").encode())


one = lambda text: True
dot = lambda text: text == b"."
until(one)
step("greeting")
if protocol == "pop3":
    send(f"USER {user}\n"); until(one)
    send("PASS secret\n"); until(one)
    step("login")
    send("CAPA\n"); until(dot)
    send("STAT\nUIDL\nLIST\n")
    count = int(until(one)[0].split()[1])
    step("stat")
    until(dot)
    step("uidl")
    until(dot)
    step("list")
    send("".join(f"LIST {n}\nTOP {n} 100\n" for n in range(count, count - 10, -1)) + "QUIT\n")
    for _ in range(10):
        until(one); until(dot)
    until(one)
    step("texts")
else:
    tagged = lambda tag: lambda text: text.startswith(tag)
    send(f"a CAPABILITY\n"); until(tagged(b"a "))
    send(f"b LOGIN {user} secret\n"); until(tagged(b"b "))
    step("login")
    send("c SELECT INBOX (CONDSTORE)\n")
    told = until(tagged(b"c "))
    count = next(int(t.split()[1]) for t in told if t.endswith(b" EXISTS"))
    modseq = next(int(t.split(b"HIGHESTMODSEQ ")[1].split(b"]")[0]) for t in told if b"HIGHESTMODSEQ" in t)
    step("select")
    before = int(sys.argv[4]) if len(sys.argv) > 4 else max(modseq - 1, 1)
    send(f"d FETCH 1:{count} (UID FLAGS RFC822.SIZE) (CHANGEDSINCE {before})\n"); until(tagged(b"d "))
    step("changes")
    send(f"e FETCH {count - 9}:{count} (UID BODY.PEEK[HEADER] BODY.PEEK[1]<0.4096>)\n"); until(tagged(b"e "))
    step("texts")
    send("f LOGOUT\n"); until(tagged(b"f "))
    step("logout")
    steps.append(f"modseq {modseq}")
print(f"{(last - start) * 1000:.0f} ms:", ", ".join(steps))
