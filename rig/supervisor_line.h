// The line to the supervisor (virtual_usb.py), what its answers do, and the system headers in the
// order that they need.
#pragma once

// clang-format off
#include <winsock2.h>
#include <windows.h>
#include <winternl.h>
// clang-format on

#include <cstdlib>
#include <string>

// Connects to the port that the environment names. INVALID_SOCKET where nobody listens.
inline SOCKET ConnectToSupervisor() {
  WSADATA data;
  WSAStartup(MAKEWORD(2, 2), &data);
  char port[16] = "";
  GetEnvironmentVariableA("ROTATE_RIG_PORT", port, sizeof port);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<u_short>(atoi(port)));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const SOCKET line = socket(AF_INET, SOCK_STREAM, 0);
  const bool connected = connect(line, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  return connected ? line : INVALID_SOCKET;
}

// Sends one line and returns the answer without its line end. Empty: the supervisor is gone.
// Nothing comes unasked, so all that is received belongs to this answer. It isn't read byte by
// byte, since each call goes through Wine's server and waits its turn on a busy machine.
inline std::string AskSupervisor(SOCKET line, const std::string& question) {
  const std::string sent = question + "\n";
  std::string answer;
  if (send(line, sent.data(), static_cast<int>(sent.size()), 0) < 0) return "";
  while (answer.empty() || answer.back() != '\n') {
    char part[1024];
    const int bytes = recv(line, part, sizeof part, 0);
    if (bytes <= 0) return "";
    answer.append(part, static_cast<std::size_t>(bytes));
  }
  answer.pop_back();
  return answer;
}

// Acts on an answer. False: pass. True: status and output hold the result.
inline bool Settled(const std::string& answer, NTSTATUS& status, IO_STATUS_BLOCK* io, void* out,
                    ULONG outSize) {
  if (answer == "pass") return false;
  ULONG filled = 0;
  if (answer.rfind("fail ", 0) == 0) {
    status = static_cast<NTSTATUS>(strtoul(answer.c_str() + 5, nullptr, 16));
  } else {
    status = answer.rfind("more ", 0) == 0 ? static_cast<NTSTATUS>(0x80000005) : 0;
    for (std::size_t at = 5; at + 1 < answer.size() && filled < outSize; at += 2) {
      static_cast<unsigned char*>(out)[filled++] =
          static_cast<unsigned char>(strtoul(answer.substr(at, 2).c_str(), nullptr, 16));
    }
  }
  if (io != nullptr) {
    io->Status = status;
    io->Information = filled;
  }
  return true;
}

inline std::string Utf8(const UNICODE_STRING& name) {
  char text[2048];
  const int bytes = WideCharToMultiByte(CP_UTF8, 0, name.Buffer, name.Length / 2, text, sizeof text,
                                        nullptr, nullptr);
  return std::string(text, static_cast<std::size_t>(bytes));
}
