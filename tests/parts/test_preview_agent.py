import socket
import time
from contextlib import contextmanager

from running import BUILD, Folder, Program, make_job, run_filter, wait_until

OPEN_MESSAGE = '{"method":"openServiceURL","params":["http://10.0.0.7"]}'
DEVICE = "VXDeviceIP=10.0.0.7 "


def run_held_job(folder, options, ppd=""):
    """The exit status of a job that is held at the printer."""
    return run_filter("VXHoldJob=True " + options, make_job(1), '*VXHoldJob: "1"\n' + ppd,
                      env={"VX_PREVIEW_AGENT_SOCKET": str(folder.path / "socket")}).status


def bind(folder):
    listener = socket.socket(socket.AF_UNIX)
    listener.bind(str(folder.path / "socket"))
    return listener


def connect(folder):
    client = socket.socket(socket.AF_UNIX)
    client.connect(str(folder.path / "socket"))
    return client


def send(folder, text):
    with connect(folder) as client:
        client.sendall(text.encode())


def message_for(options, ppd=""):
    """What the filter sends when somebody listens; empty for nothing."""
    with Folder() as folder, bind(folder) as listener:
        listener.listen(1)
        assert run_held_job(folder, options, ppd) == 0
        listener.setblocking(False)
        try:
            client, _ = listener.accept()
        except BlockingIOError:
            return ""
        with client:
            return client.recv(4096).decode()


def start_agent(agent, folder):
    agent.start([], {"PATH": f"{folder.path}/bin:/usr/bin:/bin", "XDG_CONFIG_HOME": f"{folder.path}/config",
                     "VX_PREVIEW_AGENT_SOCKET": f"{folder.path}/socket"},
                program=BUILD / "agent" / "vxpreviewagent", stdin=None)


def wait_for_agent(folder):
    def is_heard():
        try:
            connect(folder).close()
        except (ConnectionRefusedError, FileNotFoundError):
            return False
        return True

    return wait_until(is_heard)


@contextmanager
def running_agent():
    """An agent, with stand-ins for the programs it may start that write down what they are to show."""
    with Program() as agent:
        for name in ("bin/xdg-open", "bin/viewer"):
            agent.write(name, f"#!/bin/sh\necho \"${{0##*/}} $*\" >> '{agent.path}/record'\n", mode=0o755)
        agent.write("config/vxpreviewagent/actions.json", '{"actions":{"showHeldJob":["viewer","--held"]}}')
        start_agent(agent, agent)
        assert wait_for_agent(agent), agent.log
        yield agent
        assert agent.terminate() == 0, agent.log


def wait_for_record(agent, text):
    return wait_until(lambda: text in agent.read("record"))


def test_the_message_follows_the_job():
    action = '*VXHoldJobAction True: "show"\n'
    page = '{"method":"openServiceURL","params":["http://10.0.0.7/vx/device/webAccess/preview.htm?ID=a b"]}\n'
    assert message_for(DEVICE) == OPEN_MESSAGE + "\n"
    assert message_for(DEVICE + "VXUUID=a%20b VXJobAccounting=None") == page
    assert message_for(DEVICE + "VXUUID=a%20b", '*VXJobAccounting: "1"\n') == page
    assert message_for(DEVICE + "VXUUID=j%22%FF", action) == (
        '{"method":"performPPDAction","params":["show",["vxpostprocessing","j\\"\uFFFD"]]}\n')
    assert message_for(DEVICE, action) == "", "an action needs the job"
    assert message_for("") == ""
    assert message_for(DEVICE + "VXJobAccounting=None") == "", "a job's page needs the job"
    assert message_for(DEVICE + "VXHoldJob=False") == ""


def test_no_agent_is_no_error():
    with Folder() as folder:
        assert run_held_job(folder, DEVICE) == 0, "none"
        bind(folder).close()
        assert run_held_job(folder, DEVICE) == 0, "dead"


def test_a_stuck_agent_is_given_up_after_two_seconds():
    def expect_given_up(options, why):
        start = time.monotonic()
        assert run_held_job(folder, options) == 0, why
        assert 1.5 < time.monotonic() - start < 10, why

    with Folder() as folder, bind(folder) as listener:
        listener.listen(0)
        with connect(folder):
            expect_given_up(DEVICE, "its queue is full")
        listener.accept()[0].close()
        expect_given_up("VXDeviceIP=" + "\xFF" * 100000, "it does not read, and the message has three bytes for each")


def test_the_agent_shows_the_page_of_a_held_job():
    with running_agent() as agent:
        assert run_held_job(agent, DEVICE + "VXUUID=j1 VXJobAccounting=None") == 0
        assert wait_for_record(agent, "xdg-open http://10.0.0.7/vx/device/webAccess/preview.htm?ID=j1\n")
        assert run_held_job(agent, "VXUUID=j2", '*VXHoldJobAction True: "showHeldJob"\n') == 0
        assert wait_for_record(agent, "viewer --held vxpostprocessing j2\n")


def test_the_agent_does_nothing_else():
    with running_agent() as agent:
        for url in ("file:///etc/passwd", "javascript:alert(1)", "--help", "http:///x", "http://a b", "ftp://a",
                    "http://a\\nhttp://b", "HTTPX://a", ""):
            send(agent, OPEN_MESSAGE.replace("http://10.0.0.7", url) + "\n")
        for text in ("", "{", "null\n", "[]\n", '{"method":1,"params":2}\n', '{"method":"openServiceURL"}\n',
                     '{"method":"openServiceURL","params":[1]}\n', '{"method":"launchTool","params":["viewer",[]]}\n',
                     '{"method":"performPPDAction","params":["viewer",["q","j"]]}\n',
                     '{"method":"performPPDAction","params":["showHeldJob",["q"]]}\n',
                     OPEN_MESSAGE, "[" * 200000 + "\n",
                     f'{OPEN_MESSAGE}\n{{"method":"openServiceURL","params":["HTTPS://last/"]}}\n'):
            send(agent, text)
        expected = ["xdg-open HTTPS://last/", "xdg-open http://10.0.0.7"]
        assert all(wait_for_record(agent, line + "\n") for line in expected)
        assert sorted(agent.read("record").splitlines()) == expected


def test_a_silent_client_does_not_hold_the_agent_up_for_long():
    with running_agent() as agent, connect(agent):
        send(agent, OPEN_MESSAGE + "\n")
        assert wait_for_record(agent, "xdg-open http://10.0.0.7\n")


def test_a_second_agent_leaves_the_first_its_socket_and_takes_the_place_of_a_dead_one():
    with running_agent() as agent:
        with Program() as second:
            start_agent(second, agent)
            assert second.wait() == 1
        send(agent, OPEN_MESSAGE + "\n")
        assert wait_for_record(agent, "xdg-open http://10.0.0.7\n")
        agent.process.kill()
        agent.wait()
        start_agent(agent, agent)
        assert wait_for_agent(agent)
