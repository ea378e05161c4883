#pragma once

#include <openssl/ssl.h>

#include <memory>
#include <string>

namespace quorvin::webui {

// What a broker's certificate is checked against, for any number of connections and threads: the
// host's name, and the certificates of a file or, if that is empty, the system's. Throws
// std::runtime_error when the file is of no use.
[[nodiscard]] std::shared_ptr<SSL_CTX> brokerTls(const std::string& host,
                                                 const std::string& caFile);

// Why the last certificate that this thread was shown was not believed; empty if it was. Asking
// forgets it.
[[nodiscard]] std::string takeTlsComplaint();

}  // namespace quorvin::webui
