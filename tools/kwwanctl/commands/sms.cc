// SPDX-License-Identifier: Apache-2.0
#include "kwwanctl/commands.h"
#include "kwwanctl/screens.h"
#include "kwwanctl/table.h"
#include "kwwanctl/verb.h"

namespace kor::ctl {
namespace {

Takes Classes() {
  return Words({{"class-0", "class 0"},
                {"class-1", "class 1"},
                {"class-2", "class 2"},
                {"class-3", "class 3"},
                {"none", "none"},
                {"cdma", "cdma"}});
}

std::string RoutesText(const Json& result, const Paint& paint) {
  Table table({"CLASS", "STORAGE", "ACTION"});
  for (const Json& route : Member(result, "routes")) {
    table.Add({Member(route, "class"), Member(route, "storage"), Member(route, "action")});
  }
  return table.Text(paint, "There is no route.");
}

std::string StorageText(const Json& storage, const Paint&) {
  return "Storage " + ToText(Member(storage, "storage")) + ": " + ToText(Member(storage, "used")) + " of " +
         ToText(Member(storage, "capacity")) + " messages\n";
}

int ShowStorage(Context& context, const Json& params) {
  const Json asked{{"storage", params.value("storage", "sim")}};
  context.out.Show(context.session().Call("sms.storage", asked), StorageText);
  return kDone;
}

}  // namespace

void AddSms(CLI::App& app, Context& context) {
  const Arg its_class{"CLASS", "class", Classes(), "Class of the messages", "", true};
  const Arg storage{"STORAGE", "storage", OneOf({"sim", "device", "none"}), "Where they are kept", "", true};
  const Arg action{"ACTION",
                   "action",
                   OneOf({"discard", "store-and-notify", "transfer-only", "transfer-and-ack"}),
                   "What becomes of them",
                   "",
                   true};
  Verb show_storage{"storage",
                    "How full a storage is.",
                    {{"STORAGE", "storage", OneOf({"sim", "device"}), "Which; sim unless said otherwise"}},
                    {{"sms storage device", ""}},
                    "",
                    nullptr};
  show_storage.action = ShowStorage;
  AddObject(app, context, "sms", "Which way short messages go.",
            {{"routes", "The route of each class of messages.", {}, {}, "sms.routes", RoutesText},
             {"route",
              "Sends a class of messages another way.",
              {its_class, storage, action},
              {{"sms route class-1 device store-and-notify", ""}},
              "sms.route",
              RoutesText},
             show_storage});
}

}  // namespace kor::ctl
