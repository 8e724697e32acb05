#include "nycert/validate/ocsp_check_internal.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/authority_info_access.h"
#include "nycert/certs/cert.h"
#include "nycert/crl/validate_params.h"
#include "nycert/crl/validation_rc.h"
#include "nycert/platform/obd_env.h"
#include "nycert/validate/ocsp_cache_internal.h"
#include "nycert/validate/ocsp_fetchers_internal.h"
#include "nycert/validate/ocsp_request.h"
#include "nycert/validate/ocsp_response.h"

namespace {

using Clock = std::chrono::steady_clock;

// Step results besides 0 and the failure codes: waiting for a fetch.
constexpr int kPending = -1;

// One check of a chain. References are held by whoever may still touch it:
// the caller until it returns, the fetch in flight, the scheduled events.
class OcspCheck {
 public:
  OcspCheck(obd_env* env, const std::vector<obOcspResponder>& responders, obCerts& chain, obOcspCheckCB callback,
            void* context, long timeoutMs, const ValidateParams& params);
  OcspCheck(const OcspCheck&) = delete;
  OcspCheck& operator=(const OcspCheck&) = delete;

  void AddRef() { ++refs_; }
  void Release() {
    if (--refs_ == 0) delete this;
  }

  // Checks from the current certificate down: 0, a failure, or kPending.
  int Run();
  int Index() const { return index_; }
  // Schedules the time-out on the environment, once the caller has gone.
  void ArmTimer();

 private:
  // What a fetcher's completion needs to find its check, and which fetch it ends.
  struct Ticket {
    OcspCheck* check;
    unsigned fetch;
  };

  ~OcspCheck();

  bool Async() const { return env_ && callback_; }
  long MsLeft() const;
  int Step();
  int Fetch();
  int Judge(int fetchRc, const std::vector<unsigned char>& reply);
  // Finishes the check with rc on the environment, once: whether this call did.
  bool Finish(int rc);

  static void OnFetched(void* ticket, int rc, const unsigned char* reply, int replyLen);
  static void OnResume(void* check);
  static void OnTimeout(void* check);
  static void OnDropped(void* check) { static_cast<OcspCheck*>(check)->Release(); }

  std::atomic<int> refs_{1};
  obd_env* env_;
  std::vector<obOcspResponder> responders_;  // each certificate with a reference of its own
  obCerts chain_;
  obOcspCheckCB callback_;
  void* context_;
  Clock::time_point deadline_;
  ValidateParams params_;

  // Driven by one thread at a time: the caller, then events on the environment.
  int index_;
  size_t responder_ = 0;
  int fetchFailure_ = obValidationRC_OCSPConnect;
  obOcspRequest request_;

  // Shared with the fetchers' completions.
  std::mutex mutex_;
  std::condition_variable arrival_;
  unsigned fetch_ = 0;      // the fetch in flight; completions of others are stale
  bool arrived_ = false;    // its completion came while the driver was still waiting
  bool detached_ = false;   // the driver has gone; a completion resumes on the environment
  bool finished_ = false;
  int fetchRc_ = 0;
  std::vector<unsigned char> reply_;
};

OcspCheck::OcspCheck(obd_env* env, const std::vector<obOcspResponder>& responders, obCerts& chain,
                     obOcspCheckCB callback, void* context, long timeoutMs, const ValidateParams& params)
    : env_(env),
      responders_(responders),
      chain_(chain.Size()),
      callback_(callback),
      context_(context),
      deadline_(Clock::now() + std::chrono::milliseconds(timeoutMs > 0 ? timeoutMs : 0)),
      params_(params),
      index_(chain.Top() - 1) {
  for (obOcspResponder& r : responders_) obSaveSigned(r.certificate);
  for (int i = 0; i < chain.Size(); ++i) {
    obCert* cert = chain.Get(i);
    obSaveSigned(cert);
    chain_.Set(i, cert);
  }
}

OcspCheck::~OcspCheck() {
  for (obOcspResponder& r : responders_) obFreeSigned(r.certificate);
}

long OcspCheck::MsLeft() const {
  auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline_ - Clock::now()).count();
  return left > 0 ? static_cast<long>(left) : 0;
}

int OcspCheck::Run() {
  for (; index_ >= 0; --index_) {
    int rc = Step();
    if (rc != 0) return rc;
  }
  return 0;
}

// The current certificate: from the cache, else through the first responder.
int OcspCheck::Step() {
  obCert* cert = chain_.Get(index_);
  obCert* issuer = chain_.Get(index_ + 1);
  if (!cert || !issuer) return obValidationRC_BadInput;
  int rc = request_.Build(*cert, *issuer);
  if (rc != 0) return rc;
  if (obOcspCache_Get(request_.CertId().Data(), request_.CertId().Len(), rc)) return rc;
  responder_ = 0;
  fetchFailure_ = obValidationRC_OCSPNoURL;
  return Fetch();
}

// Posts the request to the current responder or, when no fetcher takes it,
// to the next; waits for the answer when that is the caller's choice.
int OcspCheck::Fetch() {
  obCert* cert = chain_.Get(index_);
  for (; responder_ < responders_.size(); ++responder_) {
    if (MsLeft() == 0) return obValidationRC_Timeout;
    const char* url = responders_[responder_].url.c_str();
    if (!*url) {
      obAuthorityInfoAccess* access = cert->AuthInfoAccess();
      url = access ? access->GetAccessByID(obASN_id_ad_ocsp) : nullptr;
    }
    if (!url) continue;
    std::unique_lock<std::mutex> lock(mutex_);
    Ticket* ticket = new Ticket{this, ++fetch_};
    arrived_ = detached_ = false;
    AddRef();
    lock.unlock();
    const nyBinBuf& der = request_.Der();
    if (obOcspStartFetch(url, der.Data(), static_cast<int>(der.Len()), MsLeft(), OnFetched, ticket) != 0) {
      OB_HERROR("obOCSP_getRevocationState: no fetcher takes %s", url);
      delete ticket;
      Release();
      fetchFailure_ = obValidationRC_OCSPConnect;
      continue;
    }
    lock.lock();
    if (!Async()) arrival_.wait_until(lock, deadline_, [this] { return arrived_; });
    if (!arrived_) {
      if (Async()) {
        detached_ = true;
        return kPending;
      }
      ++fetch_;
      return obValidationRC_Timeout;
    }
    int fetchRc = fetchRc_;
    std::vector<unsigned char> reply;
    reply.swap(reply_);
    lock.unlock();
    return Judge(fetchRc, reply);
  }
  return fetchFailure_;
}

// A fetch's outcome: a failed fetch moves on to the next responder; a reply
// is judged, and its answer is final.
int OcspCheck::Judge(int fetchRc, const std::vector<unsigned char>& reply) {
  if (fetchRc != 0) {
    OB_HERROR("obOCSP_getRevocationState: fetching from %s failed: %d", responders_[responder_].url.c_str(), fetchRc);
    fetchFailure_ = fetchRc;
    ++responder_;
    return Fetch();
  }
  long nextUpdate = 0;
  int rc = obOCSP_CheckResponse(reply.data(), static_cast<int>(reply.size()), request_, *chain_.Get(index_ + 1),
                                responders_[responder_].certificate, params_, nextUpdate);
  if (rc == 0 || rc == obValidationRC_Revoked || rc == obValidationRC_OCSPStatusUnknown)
    obOcspCache_Put(request_.CertId().Data(), request_.CertId().Len(), rc, nextUpdate);
  return rc;
}

void OcspCheck::OnFetched(void* ticketPtr, int rc, const unsigned char* reply, int replyLen) {
  Ticket* ticket = static_cast<Ticket*>(ticketPtr);
  OcspCheck* check = ticket->check;
  std::unique_lock<std::mutex> lock(check->mutex_);
  bool current = ticket->fetch == check->fetch_ && !check->finished_;
  delete ticket;
  if (!current) {
    lock.unlock();
    check->Release();
    return;
  }
  check->fetchRc_ = rc == 0 && (!reply || replyLen <= 0) ? obValidationRC_OCSPDecodeFailed : rc;
  if (rc == 0 && reply && replyLen > 0) check->reply_.assign(reply, reply + replyLen);
  if (!check->detached_) {
    check->arrived_ = true;
    check->arrival_.notify_all();
    lock.unlock();
    check->Release();
    return;
  }
  lock.unlock();
  // The fetch's reference goes with the event.
  if (T_event_sched_e(check->env_, OnResume, check, 0, OnDropped) != 0) check->Release();
}

// On the environment: judges the reply and goes on down the chain.
void OcspCheck::OnResume(void* checkPtr) {
  OcspCheck* check = static_cast<OcspCheck*>(checkPtr);
  std::unique_lock<std::mutex> lock(check->mutex_);
  int fetchRc = check->fetchRc_;
  std::vector<unsigned char> reply;
  reply.swap(check->reply_);
  bool finished = check->finished_;
  lock.unlock();
  if (!finished) {
    int rc = check->Judge(fetchRc, reply);
    if (rc == 0 && --check->index_ >= 0) rc = check->Run();
    if (rc != kPending) check->Finish(rc);
  }
  check->Release();
}

void OcspCheck::OnTimeout(void* checkPtr) {
  OcspCheck* check = static_cast<OcspCheck*>(checkPtr);
  if (check->Finish(obValidationRC_Timeout)) OB_HERROR("obOCSP_getRevocationState: no answer in time");
  check->Release();
}

bool OcspCheck::Finish(int rc) {
  std::unique_lock<std::mutex> lock(mutex_);
  if (finished_) return false;
  finished_ = true;
  ++fetch_;
  lock.unlock();
  callback_(context_, rc, index_);
  return true;
}

void OcspCheck::ArmTimer() {
  AddRef();
  if (T_event_sched_e(env_, OnTimeout, this, MsLeft(), OnDropped) != 0) Release();
}

}  // namespace

int obOcspCheckChain(obd_env* env, const std::vector<obOcspResponder>& responders, obCerts& chain, int& index,
                     obOcspCheckCB callback, void* context, long timeoutMs, const ValidateParams& params) {
  index = -1;
  if (chain.Top() < 1) return 0;
  OcspCheck* check = new OcspCheck(env, responders, chain, callback, context, timeoutMs, params);
  int rc = check->Run();
  // Once pending, the index belongs to the environment's events.
  if (rc == kPending)
    check->ArmTimer();
  else
    index = check->Index();
  check->Release();
  return rc;
}
