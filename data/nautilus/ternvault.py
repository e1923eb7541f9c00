"""The item "Send to Tern Vault" in the menu of files, for Nautilus with nautilus-python."""
from gi.repository import Gio, GLib, GObject, Nautilus

ID = "space.larkspur.ternvault"


def send(_item, uris):
    """Starts the application where it does not run. Nautilus waits for neither the bus nor the application."""
    def call(_source, result):
        Gio.bus_get_finish(result).call(ID, "/" + ID.replace(".", "/"), "org.freedesktop.Application", "Open",
                                        GLib.Variant("(asa{sv})", (uris, {})), None, Gio.DBusCallFlags.NONE, -1,
                                        None, None)
    Gio.bus_get(Gio.BusType.SESSION, None, call)


class TernVaultMenu(GObject.GObject, Nautilus.MenuProvider):
    def get_file_items(self, *arguments):  # the files come last; before Nautilus 43 a window came first
        files = arguments[-1]
        if not files or any(file.get_uri_scheme() != "file" for file in files):
            return []
        item = Nautilus.MenuItem(name="TernVault::send", label="Send to Tern Vault", icon=ID)
        item.connect("activate", send, [file.get_uri() for file in files])
        return [item]
