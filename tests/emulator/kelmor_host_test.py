#!/usr/bin/env python3
"""Runs the built kelmor-host as a person would and checks what it prints and its exit status.
usage: kelmor_host_test.py PATH_TO_KELMOR_HOST CASE"""
import json
import os
import pty
import signal
import subprocess
import sys
import time

HOST = sys.argv[1]


def run(*args, timeout=20):
    done = subprocess.run([HOST, *args], capture_output=True, text=True, timeout=timeout)
    return done.returncode, done.stdout, done.stderr


def check(condition, what, output=""):
    if not condition:
        sys.exit(f"FAILED: {what}\n{output}")


def demo():
    start = time.monotonic()
    status, out, err = run()
    took = time.monotonic() - start
    check(status == 0, "the demo exits 0", out + err)
    for text in ("== Serial", "== Bluetooth", "== Network", "== Keyboard", "== Broadcast",
                 "== Card reader", "Barcode: 4006381333931",
                 "Barcode: 0104607001771234215Kq7mZ<GS>91EE07<GS>92dGVzdA==",
                 "Barcode: Привет, сканер!", "TrackData: %B4000001234567899^",
                 "PASSED: 15 of 15"):
        check(text in out, f"the demo shows {text!r}", out)
    # Under 5 s on an idle machine; the bound here only catches a hang on a busy one.
    check(took < 20, f"the demo took {took:.1f} s")


def params():
    for lang, words in (("en", ["Page: Parameters", "Speed (Number), default \"9600\"", "auto CRLF"]),
                        ("ru", ["Page: Параметры", "Скорость (Number)", "Клавиатура 9.0"])):
        status, out, err = run("params", "--lang", lang)
        check(status == 0, f"params --lang {lang} exits 0", err)
        for word in words:
            check(word in out, f"params --lang {lang} shows {word!r}", out)
    status, out, _ = run("params", "--xml")
    check(status == 0 and out.startswith("<?xml") and "<Settings" in out, "params --xml", out)


def listen(as_json, peer=None):
    master, slave = pty.openpty()
    path = os.ttyname(slave)
    device = [f"BluetoothDevice={path}"]
    if peer:  # the same scanner reached as a Bluetooth peer whose stream is the tty
        device = ["--peer", f"{peer}={path}", f"BluetoothDevice={peer}"]
        status, out, err = run("ports", *device[:2])
        check(status == 0 and f"{peer}    Peer {peer}" in out, "ports lists the peer", out + err)
    args = ["listen", *device, "EquipmentType=InputDevice", "Suffix=13",
            "--count", "2", "--seconds", "10"] + (["--json"] if as_json else [])
    process = subprocess.Popen([HOST, *args], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    # The device is open once the program says what it waits for.
    line = process.stderr.readline()
    while line and "waiting for" not in line:
        line = process.stderr.readline()
    check("waiting for 2 event(s)" in line, "listen says what it waits for", line)
    os.write(master, "4006381333931\r01046070\x1d21AB\rnot counted".encode())
    out, err = process.communicate(timeout=15)
    os.close(master)
    os.close(slave)
    check(process.returncode == 0, "listen --count 2 exits 0", out + err)
    if as_json:
        events = [json.loads(row) for row in out.splitlines()]
        check([e["data"] for e in events] == ["4006381333931", "01046070\x1d21AB"]
              and all(e["message"] == "Barcode" and e["source"] == "InputDevice#1" for e in events),
              "listen --json gives one object per event", out)
    else:
        check("Barcode: 4006381333931" in out and "Barcode: 01046070<GS>21AB" in out,
              "listen prints both events readably", out)
        check("after 2 event(s)" in err, "listen reports how many came", err)


def interrupt():
    master, slave = pty.openpty()
    process = subprocess.Popen([HOST, "listen", f"BluetoothDevice={os.ttyname(slave)}", "Suffix=13"],
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    line = process.stderr.readline()
    while line and "waiting for" not in line:
        line = process.stderr.readline()
    os.write(master, b"4006381333931\r40063")  # the second code is cut short by Ctrl+C
    check(process.stdout.readline().rstrip().endswith("Barcode: 4006381333931"), "the first code came")
    process.send_signal(signal.SIGINT)
    out, err = process.communicate(timeout=10)
    os.close(master)
    os.close(slave)
    check(process.returncode == 130 and "after 1 event(s) (interrupted)" in err,
          "Ctrl+C closes the device and exits 130", err)


def errors():
    status, _, err = run("listen", "BluetoothDevice=65535", "--seconds", "1")
    check(status != 0 and "Open failed, code 2: Failed to create device" in err, "failing Open", err)
    status, _, err = run("listen", "Port=1")
    check(status != 0 and "Wrong parameter name" in err, "unknown key", err)
    for args, text in ((["frob"], "unknown command 'frob'"),
                       (["listen", "--bogus"], "unknown option --bogus"),
                       (["listen", "nokey"], "settings are written KEY=VALUE"),
                       (["listen", "--count", "x"], "--count takes a positive number"),
                       (["params", "--lang", "de"], "--lang takes ru or en")):
        status, _, err = run(*args)
        check(status == 2 and text in err, f"{args} is refused plainly", err)
    for command in ([], ["params"], ["ports"], ["listen"], ["test"]):
        status, out, _ = run(*command, "--help")
        check(status == 0 and "usage: kelmor-host" in out, f"{command} --help", out)


CASES = {"demo": demo, "params": params, "listen": lambda: listen(False),
         "listen_json": lambda: listen(True), "listen_peer": lambda: listen(False, "00:1A:7D:DA:71:13"),
         "interrupt": interrupt,
         "errors": errors}
CASES[sys.argv[2]]()
print("1 passed, 0 failed")
