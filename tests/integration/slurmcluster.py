"""A Slurm cluster of two nodes on the loopback address, for one test: nothing of it outlives the test."""

import os
import socket
import subprocess
import time
from pathlib import Path

import integration

CONFIGURATION = """
ClusterName=here
SlurmctldHost=localhost(127.0.0.1)
SlurmctldPort={ports[0]}
CommunicationParameters=NoCtldInAddrAny,NoInAddrAny
AuthType=auth/munge
AuthInfo=socket={work}/munge/socket,cred_expire=5
CredType=cred/munge
SlurmUser={user}
SlurmdUser={user}
StateSaveLocation={work}/state
SlurmdSpoolDir={work}/spool.%n
SlurmctldPidFile={work}/slurmctld.pid
SlurmdPidFile={work}/slurmd.%n.pid
SlurmctldLogFile={work}/slurmctld.log
SlurmdLogFile={work}/slurmd.%n.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
SchedulerParameters=sched_min_interval=0,bf_interval=1
SlurmdParameters=config_overrides
AccountingStorageType=accounting_storage/none
JobAcctGatherType=jobacct_gather/none
MpiDefault=none
ReturnToService=2
MinJobAge=3600
KillWait=1
NodeName=one NodeHostname=localhost NodeAddr=127.0.0.1 Port={ports[1]} CPUs=2 State=UNKNOWN
NodeName=two NodeHostname=localhost NodeAddr=127.0.0.1 Port={ports[2]} CPUs=2 State=UNKNOWN
PartitionName=all Nodes=one,two Default=YES MaxTime=INFINITE State=UP
"""


def free_ports(count: int) -> list[int]:
    sockets = [socket.create_server(("127.0.0.1", 0)) for _ in range(count)]
    ports = [one.getsockname()[1] for one in sockets]
    for one in sockets:
        one.close()
    return ports


def children_of(process: int) -> list[int]:
    """All that a process has started and that still runs, the innermost last."""
    found = []
    for status in Path("/proc").glob("[0-9]*/stat"):
        try:
            if int(status.read_text().rsplit(")", 1)[1].split()[1]) == process:
                child = int(status.parent.name)
                found += [child, *children_of(child)]
        except (OSError, IndexError):
            pass  # it has ended meanwhile
    return found


class Cluster:
    def __init__(self, work: Path):
        self.work = work
        self.daemons: dict[str, subprocess.Popen] = {}
        for folder in ("munge", "state", "spool.one", "spool.two"):
            (work / folder).mkdir(parents=True)
        work.chmod(0o755)
        (work / "munge").chmod(0o700)
        key = work / "munge" / "key"
        key.write_bytes(os.urandom(128))
        key.chmod(0o400)
        user = subprocess.run(["id", "-un"], capture_output=True, text=True, check=True).stdout.strip()
        (work / "slurm.conf").write_text(CONFIGURATION.format(work=work, user=user, ports=free_ports(3)))
        self.environment = {**os.environ, "SLURM_CONF": str(work / "slurm.conf")}

    def start(self, name: str, *words: object) -> None:
        log = open(self.work / f"{name}.out", "a", encoding="utf-8")
        with log:
            self.daemons[name] = subprocess.Popen(
                # A test that is killed has no time to end them.
                ["setpriv", "--pdeathsig", "KILL", integration.program(str(words[0])), *map(str, words[1:])],
                stdout=log,
                stderr=log,
                env=self.environment,
            )

    def start_all(self) -> None:
        munge = self.work / "munge"
        self.start(
            "munged",
            "munged",
            "--foreground",
            "--force",
            "--num-threads=1",
            f"--socket={munge}/socket",
            f"--key-file={munge}/key",
            f"--pid-file={munge}/pid",
            f"--log-file={munge}/log",
            f"--seed-file={munge}/seed",
        )
        self.wait_for(lambda: (munge / "socket").exists(), "munged")
        self.start("slurmctld", "slurmctld", "-D", "-i")
        for node in ("one", "two"):
            self.start_node(node)
        self.wait_for(lambda: self.ask("sinfo", "-h", "-o", "%T %D").split() == ["idle", "2"], "two idle nodes")

    def start_node(self, node: str) -> None:
        self.start(node, "slurmd", "-D", "-N", node)

    def kill_node(self, node: str) -> None:
        """At once, with all that runs on it, as a machine that loses its power."""
        daemon = self.daemons.pop(node)
        victims = [daemon.pid, *children_of(daemon.pid)]
        for process in self._tasks_of(node):
            victims += [self._parent_of(process), process, *children_of(process)]
        for victim in victims:
            try:
                os.kill(victim, 9)
            except ProcessLookupError:
                pass
        daemon.wait()

    def _tasks_of(self, node: str) -> list[int]:
        """The batch scripts that run on a node of this cluster: children of a slurmstepd, which leaves its slurmd."""
        found = []
        for path in Path("/proc").glob("[0-9]*/environ"):
            try:
                values = path.read_bytes().split(b"\0")
                above = Path(f"/proc/{self._parent_of(int(path.parent.name))}/cmdline").read_bytes()
            except (OSError, IndexError):
                continue
            wanted = (f"SLURMD_NODENAME={node}".encode(), f"SLURM_CONF={self.work}/slurm.conf".encode())
            if all(value in values for value in wanted) and b"slurmstepd" in above:
                found.append(int(path.parent.name))
        return found

    @staticmethod
    def _parent_of(process: int) -> int:
        return int(Path(f"/proc/{process}/stat").read_text().rsplit(")", 1)[1].split()[1])

    def ask(self, *words: object) -> str:
        done = subprocess.run([str(word) for word in words], capture_output=True, text=True, env=self.environment)
        return done.stdout

    def wait_for(self, holds, what: str, seconds: float = 60) -> None:
        end = time.monotonic() + seconds
        while not holds():
            if time.monotonic() > end:
                logs = "\n".join(f"{p.name}: {p.read_text()[-1500:]}" for p in sorted(self.work.glob("*.log")))
                raise AssertionError(f"{what}: not within {seconds} s\n{self.ask('squeue')}{logs}")
            time.sleep(0.02)

    def stop(self) -> None:
        self.ask("scancel", "--quiet", "--signal=KILL", "--full", "-u", str(os.getuid()))
        for name in ("one", "two", "slurmctld", "munged"):
            if name in self.daemons:
                if name in ("one", "two"):
                    self.kill_node(name)
                else:
                    self.daemons[name].kill()
                    self.daemons[name].wait()
