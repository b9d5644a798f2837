// SPDX-FileCopyrightText: 2026 libquor developers
// SPDX-License-Identifier: Apache-2.0

#include "command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>

#include "catalogue/text/json_text.h"
#include "catalogue/text/terminal_text.h"
#include "centre.h"
#include "channel_commands.h"
#include "event_log.h"
#include "fleet_status.h"
#include "host_commands.h"
#include "listing_options.h"
#include "output_file.h"
#include "publication.h"
#include "rollout.h"
#include "schema_setup.h"
#include "standard_streams.h"
#include "status_page.h"
#include "status_text.h"

namespace QuorPublish {
namespace {

constexpr char kFooter[] =
    "The centre is named by --centre, by QUOR_CENTRE or by what libpq reads (PGHOST, ...).\n"
    "Exit statuses: 0 done, 1 a roll-out stopped, 2 the command line is wrong, 3 the named thing "
    "is\n"
    "absent, 4 the document is wrong, 5 the centre cannot be reached or confirms nothing,\n"
    "7 permission denied, 8 not confirmed, 9 the centre is not as the command takes it to be,\n"
    "70 internal error. quor-publish(8) tells more.";

struct StatusOptions {
  std::string format = "table";
  std::string page;
  int silentAfter = 900;  // three times as long as an agent leaves between two reports
  bool hosts = false;
};

class CommandLine {
 public:
  explicit CommandLine(Answer* answer) : answer_(*answer) {
    parser_.name("quor-publish");
    parser_.footer(kFooter);
    parser_.set_version_flag("--version", "quor-publish " QUOR_PUBLISH_VERSION);
    parser_.require_subcommand(1);
    parser_.fallthrough();
    parser_
        .add_option("--centre", centre_.connectionString,
                    "the centre: \"host=db1,db2 dbname=quor\" or postgresql://db1,db2/quor")
        ->type_name("CONNECTION");
    parser_.add_flag("--no-standby", centre_.noStandby,
                     "change the centre although no synchronous standby confirms it");
    parser_.add_option("--timeout", timeout_, "for each question to the centre")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, 3600));
    DeclarePublishing();
    DeclareChannels();
    DeclareRollout();
    DeclareLooking();
    DeclareHosts();
    DeclareTables();
  }

  void Run(std::vector<std::string> words) {
    std::reverse(words.begin(), words.end());  // as the parser takes them
    try {
      parser_.parse(std::move(words));
    } catch (const CLI::CallForHelp&) {
      answer_.text += parser_.help();
      return;
    } catch (const CLI::CallForAllHelp&) {
      answer_.text += parser_.help("", CLI::AppFormatMode::All);
      return;
    } catch (const CLI::CallForVersion&) {
      answer_.text += parser_.version() + '\n';
      return;
    } catch (const CLI::ParseError& failure) {
      throw UsageError(std::string(failure.what()) + " (see: quor-publish --help)");
    }
    centre_.timeout = std::chrono::seconds(timeout_);
    run_();
  }

 private:
  // A command and what it does.
  CLI::App* Declare(CLI::App* parent, const std::string& name, const std::string& summary,
                    const std::function<void()>& run) {
    CLI::App* const verb = parent->add_subcommand(name, summary);
    verb->callback([this, run] { run_ = run; });
    return verb;
  }

  void DeclareMaking(CLI::App* verb) {
    verb->add_option("--reason", publish_.reason, "why, for the log")->type_name("TEXT");
    verb->add_option("--key", publish_.keyFile, "sign with this private Ed25519 key (PEM)")
        ->type_name("FILE");
    verb->add_flag("--yes", publish_.yes, "delete what the document does not have");
    verb->add_flag("--may-shrink", publish_.mayShrink,
                   "hosts take it although it deletes more than a fifth");
    verb->add_flag("--may-empty", publish_.mayEmpty, "hosts take it although it is empty");
    verb->add_flag("--again", publish_.again, "also when the newest release holds this already");
    verb->add_flag("--dry-run", publish_.dryRun, "show what would change, publish nothing");
  }

  void DeclarePublishing() {
    CLI::App* const publish = Declare(&parser_, "publish", "make a release of a catalogue document",
                                      [this] { Publish(centre_, publish_, &answer_); });
    publish->add_option("FILE", publish_.file, "the document; - for standard input")->required();
    publish->add_option("--parent", publish_.parent, "the newest release; 0 for none")
        ->type_name("N");
    DeclareMaking(publish);
    CLI::App* const rollback =
        Declare(&parser_, "rollback", "make a new release of an old one's document",
                [this] { RollBack(centre_, publish_, &answer_); });
    rollback->add_option("RELEASE", publish_.source, "whose document")->required();
    DeclareMaking(rollback);
    CLI::App* const exported = Declare(&parser_, "export", "print the document of a release",
                                       [this] { Export(centre_, release_, &answer_); });
    exported->add_option("RELEASE", release_, "which one")->required();
  }

  void DeclareChannels() {
    CLI::App* const promote =
        Declare(&parser_, "promote", "offer a release to all hosts of a channel",
                [this] { Promote(centre_, release_, channel_, &answer_); });
    promote->add_option("RELEASE", release_, "which one; no lower than the channel has")
        ->required();
    promote->add_option("CHANNEL", channel_, "prod, canary, ...")->required();
    CLI::App* const pause =
        Declare(&parser_, "pause", "let the hosts of a channel stay as they are",
                [this] { Pause(centre_, channel_, true, &answer_); });
    pause->add_option("CHANNEL", channel_, "prod, canary, ...")->required();
    CLI::App* const resume = Declare(&parser_, "resume", "let them go on",
                                     [this] { Pause(centre_, channel_, false, &answer_); });
    resume->add_option("CHANNEL", channel_, "prod, canary, ...")->required();
    CLI::App* const channel = parser_.add_subcommand("channel", "make a channel");
    channel->require_subcommand(1);
    CLI::App* const add = Declare(channel, "add", "another channel, without a release",
                                  [this] { AddChannel(centre_, channel_, &answer_); });
    add->add_option("NAME", channel_, "letters, digits, '.', '_' and '-'")->required();
  }

  void DeclareRollout() {
    CLI::App* const verb =
        Declare(&parser_, "rollout",
                "bring a release to canaries, a share of the hosts, all of them", [this] {
                  if (noCanary_) rollout_.canary.clear();
                  rollout_.patience = std::chrono::seconds(patience_);
                  rollout_.period = std::chrono::milliseconds(period_);
                  RollOut(centre_, rollout_, &answer_);
                });
    verb->add_option("RELEASE", rollout_.release, "which one")->required();
    verb->add_option("--canary", rollout_.canary, "the channel that goes first (canary)")
        ->type_name("CHANNEL");
    verb->add_flag("--no-canary", noCanary_, "begin with the share");
    verb->add_option("--channel", rollout_.channel, "the channel that is to have it (prod)")
        ->type_name("CHANNEL");
    verb->add_option("--share", rollout_.shares,
                     "per cent of its hosts that go next (10); several rise")
        ->type_name("PERCENT")
        ->delimiter(',')
        ->check(CLI::Range(1, 99));
    verb->add_option("--most-refusing", rollout_.mostRefusing,
                     "stop when more hosts of a stage refuse it (0)")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber);
    verb->add_option("--most-silent", rollout_.mostSilent,
                     "stop when more of a stage have not got it in time (10)")
        ->type_name("PERCENT")
        ->check(CLI::Range(0, 100));
    verb->add_option("--patience", patience_, "time for each stage (600)")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, 7 * 24 * 3600));
    verb->add_option("--period", period_, "between two looks at the hosts (2000)")
        ->type_name("MILLISECONDS")
        ->check(CLI::Range(50, 60000));
  }

  void DeclareLooking() {
    CLI::App* const status =
        Declare(&parser_, "status", "which host has which release, and how it is",
                [this] { ShowStatus(); });
    status->add_option("-o,--output", status_.format, "table or json")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"table", "json"}));
    status->add_option("--html", status_.page, "write a page for a browser instead")
        ->type_name("FILE");
    status->add_flag("--hosts", status_.hosts, "all hosts in the table");
    status
        ->add_option("--silent-after", status_.silentAfter,
                     "a host that says nothing for so long is silent (900)")
        ->type_name("SECONDS")
        ->check(CLI::PositiveNumber);
    CLI::App* const log =
        Declare(&parser_, "log", "what was done at the centre, by whom and why",
                [this] { ShowLog(centre_, most_, listing_.Choices(), &answer_); });
    log->add_option("-n,--most", most_, "so many of the newest entries (50)")
        ->type_name("N")
        ->check(CLI::PositiveNumber);
    listing_.Declare(*log);
  }

  void DeclareHosts() {
    CLI::App* const host = parser_.add_subcommand("host", "add, move or remove a host");
    host->require_subcommand(1);
    CLI::App* const add =
        Declare(host, "add", "a host and the role that its agent logs in as",
                [this] { AddHost(centre_, host_, hostChannel_, role_, &answer_); });
    add->add_option("NAME", host_, "of the host")->required();
    add->add_option("--channel", hostChannel_, "where it looks (prod)")->type_name("CHANNEL");
    add->add_option("--role", role_, "the role (the host's name); made where it is not there")
        ->type_name("ROLE");
    CLI::App* const move = Declare(host, "move", "let a host look at another channel",
                                   [this] { MoveHost(centre_, host_, channel_, &answer_); });
    move->add_option("NAME", host_, "of the host")->required();
    move->add_option("CHANNEL", channel_, "where it looks from now on")->required();
    CLI::App* const remove = Declare(host, "remove", "forget a host and its role",
                                     [this] { RemoveHost(centre_, host_, &answer_); });
    remove->add_option("NAME", host_, "of the host")->required();
  }

  void DeclareTables() {
    const auto setUp = [this] { SetUpSchema(centre_, &answer_); };
    Declare(&parser_, "init", "make the tables of the centre", setUp);
    Declare(&parser_, "migrate", "bring the tables to the version of this program", setUp);
    CLI::App* const retain = Declare(&parser_, "retain", "delete old releases that nobody has",
                                     [this] { Retain(centre_, keep_, &answer_); });
    retain->add_option("--keep", keep_, "so many of the newest stay")->type_name("N")->required();
  }

  void ShowStatus() {
    Centre centre(centre_, Centre::Use::kRead);
    const FleetStatus status = ReadStatus(centre, std::chrono::seconds(status_.silentAfter));
    if (!status_.page.empty()) {
      Quorctl::ReplaceFile(status_.page, StatusAsPage(status));
    } else if (status_.format == "json") {
      answer_.text += Quorctl::IndentedJson(AsJson(status)) + '\n';
    } else {
      answer_.text += StatusAsText(status, status_.hosts);
    }
  }

  Answer& answer_;
  CLI::App parser_{"Publishes catalogues to many hosts and shows which host has which."};
  std::function<void()> run_;
  CentreOptions centre_;
  int timeout_ = 30;
  PublishOptions publish_;
  RolloutOptions rollout_;
  bool noCanary_ = false;
  int patience_ = 600;
  int period_ = 2000;
  StatusOptions status_;
  Quorctl::ListingOptions listing_;
  int most_ = 50;
  int keep_ = 0;
  ReleaseId release_ = 0;
  std::string channel_;
  std::string host_;
  std::string hostChannel_ = "prod";
  std::string role_;
};

}  // namespace

void RunCommand(const std::vector<std::string>& words, Answer* answer) {
  CommandLine(answer).Run(words);
}

}  // namespace QuorPublish
