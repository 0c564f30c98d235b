// Only in builds with ThreadSanitizer: what it reports wrongly about libdbus.
//
// dbus_bus_get holds the library's bus lock while it locks the connection that it is just
// making; a connection that was lost takes the two in the other order. They cannot meet:
// nobody else knows the connection until dbus_bus_get has returned it.
extern "C" const char *__tsan_default_suppressions();

const char *__tsan_default_suppressions() {
    return "deadlock:libdbus-1.so\n";
}
