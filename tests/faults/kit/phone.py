"""The simulated phone of the stories."""

from kit import link


def start(context, namespace, address: str = link.PHONE, options: tuple = (), name: str = "phone"):
    # Nobody looks for it in the network, and no daemon is there to announce it.
    return context.start(name, [context.bin / "petrel", "simulate", "--listen", address, "--no-announce", "--quiet",
                                *options], namespace)
