// The line to the supervisor (virtual_usb.py), and the system headers in the order that they need.
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

// Sends one line and gives the answer without its line end. Empty: the supervisor is gone. Nothing
// comes unasked, so all that is received belongs to this answer; it isn't taken byte by byte, since
// each call goes through Wine's server and waits its turn on a busy machine.
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
