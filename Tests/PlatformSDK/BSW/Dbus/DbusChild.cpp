// A process of its own with log and bus connection, for the tests of what ends a process.
// Terminating signals call exit with the signal's number, as the service does.
#include <cstdlib>
#include <string>

#include <signal.h>
#include <unistd.h>

#include "BSW/Dbus/DbusHandler.h"
#include "BSW/Log/Log.h"

namespace {

void ExitWithNumber(int signalNumber) {
    std::exit(signalNumber);
}

const std::string Echo(const std::string &text) {
    return "echo:" + text;
}

const std::string Exit(const std::string &text) {
    std::exit(std::stoi(text));
}

const std::string SignalWorker(const std::string &text) {
    raise(SIGTERM); // handled on the calling thread
    return text;
}

} // namespace

int main() {
    signal(SIGTERM, ExitWithNumber);
    CLog::instance()->Init("log", false); // first, so that it outlives the connection
    CDbusHandler *handler = CDbusHandler::instance();
    handler->RegisteredServices("/org/test/object", "org.test.interface", "Echo", Echo, false);
    handler->RegisteredServices("/org/test/object", "org.test.interface", "Exit", Exit, false);
    handler->RegisteredServices("/org/test/object", "org.test.interface", "SignalWorker", SignalWorker, false);
    handler->Init("org.test.server");
    for (;;)
        pause();
}
