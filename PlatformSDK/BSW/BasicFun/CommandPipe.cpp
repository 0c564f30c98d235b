// The output of a shell command. Runs on the thread that owns the object.
#include "BSW/BasicFun/CommandPipe.h"

CommandPipe::CommandPipe(const char *cmd) : m_output(popen(cmd, "r")) {}

CommandPipe::~CommandPipe() {
    if (m_output)
        pclose(m_output);
}

bool CommandPipe::ReadPiece(char *piece, int size) {
    return fgets(piece, size, m_output);
}

bool CommandPipe::ReadLine(std::string &line) {
    line.clear();
    char piece[1024];
    while (ReadPiece(piece, sizeof piece)) {
        line += piece;
        if (line.ends_with('\n')) {
            line.pop_back();
            return true;
        }
    }
    return !line.empty();
}

int CommandPipe::Close() {
    const int status = pclose(m_output);
    m_output = nullptr;
    return status;
}
