#pragma once

#include <openssl/ssl.h>

#include <memory>
#include <string>

namespace quorvin::webui {

// What a broker's certificate is checked against: the host's name, and the certificates of a file
// or, if that is empty, the system's. Throws std::runtime_error when the file is of no use.
class BrokerTls {
 public:
  BrokerTls(const std::string& host, const std::string& caFile);

  // For any number of connections and threads.
  [[nodiscard]] SSL_CTX* context() const { return owned.get(); }

  // Why the last certificate that this thread was shown was not believed; empty if it was. Asking
  // forgets it.
  [[nodiscard]] static std::string takeComplaint();

 private:
  struct Free {
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
  };
  std::unique_ptr<SSL_CTX, Free> owned{SSL_CTX_new(TLS_client_method())};
};

}  // namespace quorvin::webui
