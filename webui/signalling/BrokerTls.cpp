#include "webui/signalling/BrokerTls.h"

#include <openssl/x509v3.h>

#include <stdexcept>
#include <utility>

namespace quorvin::webui {

namespace {

thread_local int lastError = X509_V_OK;

int noteError(int isGood, X509_STORE_CTX* check) {
  if (isGood == 0) lastError = X509_STORE_CTX_get_error(check);
  return isGood;
}

}  // namespace

std::shared_ptr<SSL_CTX> brokerTls(const std::string& host, const std::string& caFile) {
  std::shared_ptr<SSL_CTX> owned(SSL_CTX_new(TLS_client_method()), SSL_CTX_free);
  auto* context = owned.get();
  if (context == nullptr) throw std::runtime_error("there is no TLS");
  SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION);
  SSL_CTX_set_verify(context, SSL_VERIFY_PEER, noteError);
  auto* wanted = SSL_CTX_get0_param(context);
  if (X509_VERIFY_PARAM_set1_ip_asc(wanted, host.c_str()) == 0 &&
      X509_VERIFY_PARAM_set1_host(wanted, host.c_str(), host.size()) == 0) {
    throw std::runtime_error(host + " is no name of a host");
  }
  if (caFile.empty() ? SSL_CTX_set_default_verify_paths(context) == 0
                     : SSL_CTX_load_verify_file(context, caFile.c_str()) == 0) {
    throw std::runtime_error("there are no certificates (PEM) to be read in " + caFile);
  }
  return owned;
}

std::string takeTlsComplaint() {
  const int error = std::exchange(lastError, X509_V_OK);
  return error == X509_V_OK ? "" : X509_verify_cert_error_string(error);
}

}  // namespace quorvin::webui
