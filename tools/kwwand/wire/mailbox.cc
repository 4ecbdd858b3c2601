// SPDX-License-Identifier: Apache-2.0
#include "kwwand/wire/mailbox.h"

#include <sys/eventfd.h>

namespace kor::host {

Mailbox::Mailbox() : event_fd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (!event_fd_.is_open()) throw kor::tools::SystemError("eventfd");
}

void Mailbox::Post(Mail mail) {
  kor::util::MutexLock lock(mutex_);
  Add(std::move(mail));
}

void Mailbox::PostAnswer(Mail mail) {
  kor::util::MutexLock lock(mutex_);
  while (bytes_ > kMuchWaiting && !closed_) room_cond_.Wait(mutex_);
  Add(std::move(mail));
  room_cond_.Signal();
}

void Mailbox::Close() {
  kor::util::MutexLock lock(mutex_);
  closed_ = true;
  room_cond_.Signal();
}

void Mailbox::Add(Mail mail) {
  bytes_ += mail.line.size();
  mails_.push_back(std::move(mail));
  if (mails_.size() == 1) eventfd_write(event_fd_.get(), 1);
}

std::vector<Mail> Mailbox::Take() {
  std::vector<Mail> mails;
  kor::util::MutexLock lock(mutex_);
  eventfd_t count = 0;
  eventfd_read(event_fd_.get(), &count);
  mails.swap(mails_);
  bytes_ = 0;
  room_cond_.Signal();
  return mails;
}

}  // namespace kor::host
