// zrpeer: a peer of the audio service on the command line.
#include "PeerTool/Commands.h"

int main(int argc, char **argv) {
    return zr_run_peer_tool(argc, argv);
}
