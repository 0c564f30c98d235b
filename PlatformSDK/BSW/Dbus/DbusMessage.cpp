// Messages of libdbus as owned objects. Any thread.
#include "BSW/Dbus/DbusMessage.h"

#include <stdexcept>

namespace {

bool AreValidNames(const char *path, const char *interface, const char *member) {
    return dbus_validate_path(path, nullptr) && dbus_validate_interface(interface, nullptr) &&
           dbus_validate_member(member, nullptr);
}

} // namespace

DbusMessagePtr DbusNewSignal(const char *path, const char *interface, const char *member) {
    if (!AreValidNames(path, interface, member))
        return nullptr;
    return DbusMessagePtr(dbus_message_new_signal(path, interface, member));
}

DbusMessagePtr DbusNewMethodCall(const char *destination, const char *path, const char *interface, const char *member) {
    if (!AreValidNames(path, interface, member) || (destination && !dbus_validate_bus_name(destination, nullptr)))
        return nullptr;
    return DbusMessagePtr(dbus_message_new_method_call(destination, path, interface, member));
}

bool DbusAppendText(DBusMessage *message, const char *text) {
    if (!message || !text || !dbus_validate_utf8(text, nullptr))
        return false;
    DBusMessageIter end;
    dbus_message_iter_init_append(message, &end);
    return dbus_message_iter_append_basic(&end, DBUS_TYPE_STRING, &text);
}

DbusArgument DbusReadText(DBusMessage *message, const char **text) {
    DBusMessageIter argument;
    if (!dbus_message_iter_init(message, &argument))
        return DbusArgument::NONE;
    if (dbus_message_iter_get_arg_type(&argument) != DBUS_TYPE_STRING)
        return DbusArgument::NOT_STRING;
    dbus_message_iter_get_basic(&argument, text);
    return DbusArgument::STRING;
}

std::string DbusTextOf(const char *text) {
    if (!text)
        throw std::logic_error("basic_string: construction from null is not valid");
    return text;
}
