// CPU time of the service at real time beside that of the bare bridge, on the same
// stand-in card with the same peer, turn by turn in one run.
//
//     service_bench [ROUNDS [SECONDS]]
//
// Needs /firmware and the sockets in /tmp for itself.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "CardConfig.h"
#include "ZRPeer.h"

namespace {

using namespace std::chrono_literals;

// A peer that answers each block with a block, so that both directions run on the
// card's clock.
class EchoPeer {
  public:
    EchoPeer() : m_thread([this] { _Run(); }) {}
    ~EchoPeer() {
        m_stop = true;
        m_thread.join();
    }
    long Blocks() const { return m_blocks; }

  private:
    void _Run() {
        zrpeer::Socket socket;
        if (socket.Bind(zrpeer::AUDIO_FROM_SERVICE) != 0)
            return;
        const stModIpcMsg answer = zrpeer::AudioMessage({});
        for (stModIpcMsg msg; !m_stop;)
            if (socket.Receive(msg, 100) == static_cast<int>(sizeof(msg))) {
                ++m_blocks;
                socket.Send(answer, zrpeer::AUDIO_TO_SERVICE, 20);
            }
    }

    std::atomic<bool> m_stop{false};
    std::atomic<long> m_blocks{0};
    std::thread m_thread;
};

pid_t StartProgram(const char *path) {
    const pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const rlimit noCore{0, 0};
        setrlimit(RLIMIT_CORE, &noCore);
        execl(path, path, static_cast<char *>(nullptr));
        _exit(127);
    }
    return pid;
}

double CpuSeconds(pid_t pid) {
    clockid_t clock;
    timespec time = {};
    if (clock_getcpuclockid(pid, &clock) == 0)
        clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// CPU share in per cent of one core, or a negative value when no audio moved.
double Measure(const char *program, double seconds) {
    const pid_t pid = StartProgram(program);
    double share = -1;
    {
        EchoPeer peer;
        std::this_thread::sleep_for(1s); // start-up and its backlog
        const long blocksBefore = peer.Blocks();
        const double before = CpuSeconds(pid);
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
        const double used = CpuSeconds(pid) - before;
        const double expected = seconds * zrpeer::BLOCKS_PER_SECOND;
        if (static_cast<double>(peer.Blocks() - blocksBefore) > 0.9 * expected)
            share = used / seconds * 100;
    }
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    return share;
}

double Median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

} // namespace

int main(int argc, char **argv) {
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 5;
    const double seconds = argc > 2 ? std::max(1.0, std::atof(argv[2])) : 5;

    const std::string directory = std::filesystem::absolute("bench-service");
    std::filesystem::create_directories(directory);
    CardConfig config;
    setenv("ALSA_CONFIG_PATH", config.Write(directory).c_str(), 1);

    std::vector<double> ratios;
    for (int round = 1; round <= rounds; ++round) {
        const double bare = Measure(ZR_BARE_BRIDGE, seconds);
        const double service = Measure(ZR_SERVICE, seconds);
        if (bare <= 0 || service <= 0) {
            std::puts("no audio moved");
            return 1;
        }
        ratios.push_back(service / bare);
        std::printf("round %d: bare bridge %.2f %%, service %.2f %% of a core, ratio %.2f\n", round, bare, service,
                    ratios.back());
        std::fflush(stdout);
    }
    std::printf("median ratio %.2f\n", Median(ratios));
    return 0;
}
