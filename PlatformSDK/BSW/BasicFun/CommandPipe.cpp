// The output of a shell command. Runs on the thread that owns the object.
#include "BSW/BasicFun/CommandPipe.h"

#include "BSW/BasicFun/SafeIo.h"

CommandPipe::CommandPipe(const char *cmd) : m_output(popen(cmd, "r")) {}

CommandPipe::~CommandPipe() {
    if (m_output)
        pclose(m_output);
}

bool CommandPipe::ReadPiece(char *piece, int size) {
    int length = 0;
    for (int c = 0; length < size - 1 && c != '\n';) {
        c = NextChar(m_output);
        if (c == EOF)
            break;
        piece[length++] = static_cast<char>(c);
    }
    piece[length] = '\0';
    return length > 0;
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
