// Entry of the service. Takes no arguments.
#include "ZRFpgaMng/ZRFpgaMng.h"

int main(int, char **) {
    InitSignals();
    StartService();
    IdleUntilExit();
    StopService();
    return 0;
}
