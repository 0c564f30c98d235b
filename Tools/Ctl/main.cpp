// zrctl: the operator's hand on the running audio service.
#include "Ctl/Commands.h"

int main(int argc, char **argv) {
    return zr_run_ctl(argc, argv);
}
