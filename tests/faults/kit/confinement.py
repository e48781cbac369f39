"""Puts the driver into namespaces of its own for processes and mounts. When it ends, by whatever means, the kernel
ends every process that a story started, and with the last of them go their network namespaces and devices."""

import ctypes
import os
import signal

CLONE_NEWNS = 0x00020000
CLONE_NEWUSER = 0x10000000
CLONE_NEWPID = 0x20000000
MS_NOSUID_NODEV_NOEXEC = 2 | 4 | 8
MS_REC_PRIVATE = 0x4000 | (1 << 18)
PR_SET_PDEATHSIG = 1

libc = ctypes.CDLL(None, use_errno=True)


class NotPermitted(Exception):
    pass


def _check(result: int, what: str) -> None:
    if result != 0:
        raise NotPermitted(f"{what}: {os.strerror(ctypes.get_errno())}")


def _unshare(flags: int, what: str) -> None:
    _check(libc.unshare(flags), what)


def _become_root() -> None:
    """Without privileges a user namespace, in which this user is root, gives what is needed."""
    user, group = os.geteuid(), os.getegid()
    if user == 0:
        return
    _unshare(CLONE_NEWUSER, "run as root: no user namespace can be made")
    for name, text in (("setgroups", "deny"), ("uid_map", f"0 {user} 1"), ("gid_map", f"0 {group} 1")):
        with open(f"/proc/self/{name}", "w", encoding="ascii") as file:
            file.write(text)


def end_with_parent() -> None:
    libc.prctl(PR_SET_PDEATHSIG, signal.SIGKILL, 0, 0, 0)


def _own_mounts() -> None:
    _check(libc.mount(b"none", b"/", None, MS_REC_PRIVATE, None), "mounts cannot be made private")
    _check(libc.mount(b"proc", b"/proc", b"proc", MS_NOSUID_NODEV_NOEXEC, None), "/proc cannot be mounted")


def _interrupt(_number: int, _frame: object) -> None:
    raise KeyboardInterrupt


def run(work) -> int:
    """Calls `work` inside and returns what it returns. Raises NotPermitted."""
    _become_root()
    _unshare(CLONE_NEWPID | CLONE_NEWNS, "namespaces cannot be made")
    child = os.fork()
    if child == 0:
        code = 1
        try:
            end_with_parent()
            for number in (signal.SIGTERM, signal.SIGHUP, signal.SIGINT):
                signal.signal(number, _interrupt)
            _own_mounts()
            code = work()
        except KeyboardInterrupt:
            code = 130
        except NotPermitted as problem:
            print(f"faults: {problem}", flush=True)
        finally:
            os._exit(code)
    for number in (signal.SIGTERM, signal.SIGHUP, signal.SIGINT):
        signal.signal(number, lambda caught, _frame: _pass_on(child, caught))
    _, status = os.waitpid(child, 0)
    return os.waitstatus_to_exitcode(status) if os.WIFEXITED(status) else 1


def _pass_on(child: int, number: int) -> None:
    try:
        os.kill(child, number)
    except ProcessLookupError:
        pass
