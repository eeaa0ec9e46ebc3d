// The texts that users see, by name: the number of each in the dictionary, and its English words,
// which show without a dictionary. A new text is added here and to every file of data/dictionary.
#pragma once

#include <string_view>

namespace kor {

struct UserText {
  int number = 0;
  std::u16string_view english;
};

// Every member is a UserText, so that a test can walk them.
struct UserTexts {
  // Answers and captions that the programs of the suite share.
  UserText ok{47, u"Ok"};
  UserText cancel{48, u"Cancel"};
  UserText no{65, u"No"};
  UserText yes{66, u"Yes"};
  UserText error{251, u"Error"};
  UserText fileError{252, u"File Error"};
  UserText warning{274, u"Warning"};
  UserText problem{290, u"Problem"};
  UserText contactSupplier{323,
                           u"Please write down what you were doing and contact your supplier."};
  UserText unexpectedProblem{324, u"The program has met an unexpected problem."};
  UserText continueAnyway{1492, u"Continue"};
  UserText close{1786, u"Close"};
  UserText yesToAll{3817, u"Yes to All"};
  UserText retry{3909, u"Retry"};
  UserText noToAll{3912, u"No to All"};
  UserText abort{4550, u"Abort"};
  UserText dontShowAgain{6069, u"Don't Show This Message Again"};
  UserText quit{6144, u"Quit"};

  // Files and records.
  UserText unableToWriteFile{240, u"Unable to write to the file"};
  UserText problemWithFile{262, u"A problem occurred with the file"};
  UserText notLocked{1729, u"The file could not be locked."};
  UserText notLockedForEditing{3337, u"The file could not be locked for editing."};
  UserText unableToLock{3595, u"Unable to lock the file"};
  UserText oldName{3596, u"Old name"};
  UserText lockedBy{3597, u"The file is already locked by"};
  UserText newName{3598, u"New name"};
  UserText badTranslationFile{
      8894, u"The translation file cannot be read, or does not fit this dictionary."};
  UserText unknownObject{15350, u"unknown kind of object"};
  UserText readWhileWriting{15351, u"reading from a file that is being written"};
  UserText wrongFileType{15352, u"not a file of the expected type"};
  UserText inconsistentSizes{15353, u"inconsistent sizes"};
  UserText shortRead{15354, u"unexpected end of data"};
  UserText shortWrite{15355, u"could not be written in full"};
  UserText sizeBeyondEnd{15356, u"size beyond the end of the file"};
  UserText readingCancelled{15357, u"cancelled"};
  UserText settingsFileTooLarge{15452,
                                u"The file is too large to be a settings file: it was not read."};
  UserText questionOfWord{15631, u"%s?"};
  UserText namesInMessage{15632, u"%s:\n  %s\n %s:\n  %s"};
  UserText fileProblemMessage{15634, u"%s \"%s\" -\n\n %s %i - %s"};

  // The main window.
  UserText status{15201, u"Status"};
  UserText progress{15202, u"Progress"};
  UserText receiveLamp{15205, u"Receive"};
  UserText transmitLamp{15206, u"Transmit"};
  UserText showMonitor{15207, u"Show Monitor"};
  UserText monitor{15209, u"Monitor"};
  UserText sendNcFile{15210, u"Send NC File"};
  UserText receiveNcFile{15211, u"Receive NC File"};
  UserText loopBackTest{15212, u"Loop Back Test"};
  UserText ctsHold{15250, u"CTS Hold"};
  UserText dsrHold{15251, u"DSR Hold"};
  UserText rlsdHold{15256, u"RLSD Hold"};
  UserText xoffHold{15257, u"XOFF Hold"};
  UserText xoffSent{15258, u"XOFF Sent"};
  UserText lineTest{15259, u"Line Test"};
  UserText communicationsTrace{15266, u"Communications Trace"};
  UserText specialFeatures{15270, u"Special Features"};
  UserText rtsCtsHandshake{15273, u"RTS/CTS Handshake"};
  UserText dtrDsrHandshake{15274, u"DTR/DSR Handshake"};
  UserText xonXoffTest{15442, u"XON/XOFF Test"};
  UserText cancelTransfer{15556, u"Cancel Transfer"};
  UserText endTransferQuestion{15557, u"End the running transfer?"};
  UserText endSendingQuestion{15763, u"End sending %s? The machine then has only a part."};
  UserText endReceivingQuestion{15764, u"End receiving %s? Nothing of it is kept on this PC."};
  UserText keepSending{15765, u"Keep sending"};
  UserText keepReceiving{15766, u"Keep receiving"};
  UserText endTransfer{15767, u"End transfer"};
  UserText endProgramQuestion{15768, u"End this program? The machine then gets no NC programs any "
                                     u"more until it is started again."};
  UserText keepServing{15769, u"Keep serving"};
  UserText endProgram{15770, u"End program"};
  UserText programEndsToo{
      15771, u"This program ends as well: the machine then gets no NC programs any more."};
  UserText loopbackQuestion{
      15773, u"Is the loop-back plug on the port, in place of the machine's cable? With a machine "
             u"connected the test spoils its line: it receives characters that it did not ask "
             u"for."};
  UserText startTest{15774, u"Start test"};
  UserText clearMonitor{15560, u"Clear"};
  UserText saveMonitor{15561, u"Save..."};
  UserText find{15562, u"Find"};
  UserText textToFind{15563, u"Text to find in the monitor"};
  UserText lampOn{15564, u"on"};
  UserText lampOff{15565, u"off"};
  UserText jobsToday{15566, u"Jobs today"};
  UserText monitorNotSaved{15568, u"The monitor could not be saved in \"%s\". Choose a folder that "
                                  u"you may write to, with room on its disk."};
  UserText textNotFound{15569, u"not found"};
  UserText windowDoesNotAnswer{15604, u"The window of these settings is open already but does not "
                                      u"answer. End that program, then start again."};
  UserText lampAndState{15633, u"%s: %s"};

  // The settings dialog: captions, labels and groups.
  UserText downloadSettings{15101, u"Download Settings"};
  UserText port{15220, u"Port"};
  UserText baudRate{15221, u"Baud rate"};
  UserText parity{15222, u"Parity"};
  UserText dataBits{15223, u"Data bits"};
  UserText stopBits{15224, u"Stop bits"};
  UserText uploadPath{15226, u"Upload path"};
  UserText downloadPath{15228, u"Download path"};
  UserText fileExtension{15232, u"File extension"};
  UserText jobLog{15233, u"Job log"};
  UserText logFile{15234, u"Log file"};
  UserText writeLog{15235, u"Write log"};
  UserText browseUploadPath{15238, u"Browse..."};
  UserText browseDownloadPath{15239, u"Browse..."};
  UserText browseLogFile{15240, u"Browse..."};
  UserText flowControl{15241, u"Flow control"};
  UserText characterDelay{15246, u"Character delay (ms)"};
  UserText lineDelay{15247, u"Line delay (ms)"};
  UserText transmitDelay{15249, u"Transmit delay (seconds)"};
  UserText sendSot{15260, u"Send SOT"};
  UserText sendEot{15261, u"Send EOT"};
  UserText sotCharacter{15264, u"SOT character"};
  UserText eotCharacter{15265, u"EOT character"};
  UserText linePage{15760, u"Line"};
  UserText filesPage{15761, u"Programs and log"};
  UserText acceptedValues{15762, u"Accepted: %s"};
  UserText transferRunsHere{15772, u"%s. Wait for its end, or cancel it here."};
  UserText serialLineGroup{15550, u"Serial line"};
  UserText programsGroup{15551, u"Programs"};
  UserText startAndEndGroup{15552, u"Start and end of text"};
  UserText delaysGroup{15553, u"Delays"};
  UserText parityNone{15620, u"None"};
  UserText parityOdd{15621, u"Odd"};
  UserText parityEven{15622, u"Even"};
  UserText parityMark{15623, u"Mark"};
  UserText paritySpace{15624, u"Space"};
  UserText flowControlHardware{15625, u"Hardware"};
  UserText flowControlNone{15626, u"None"};
  UserText flowControlCombined{15627, u"Combined"};

  // What is wrong with a setting.
  UserText settingRefused{15424, u"%s can't be \"%s\"; accepted: %s"};
  UserText numberRange{15425, u"0 to %i"};
  UserText portUntilExit{
      15430, u"The port \"%s\" is used until the program ends; the next start opens %s again. To "
             u"keep this device, give it that name: ncedl-setup --port %s=%s"};
  UserText folderSilent{15454,
                        u"The folder does not answer. Choose another one, or try again later."};
  UserText acceptedPorts{15470, u"a name such as COM1, or the path of a device"};
  UserText acceptedExtensions{15471, u"letters and digits without a dot, such as MPG"};
  UserText acceptedFolders{15472, u"a folder that exists"};
  UserText acceptedFiles{15473, u"a file in a folder that exists"};
  UserText wholePathNeeded{15474, u"the whole path, for ~ stands for no folder here"};
  UserText settingsNotKept{15476, u"\"%s\" can't be the name of a file, so settings are not kept. "
                                  u"Start the program with another name."};
  UserText settingsHeldElsewhere{15605,
                                 u"Another program keeps the settings of %s already. What is "
                                 u"changed here holds until this program ends and is not saved."};

  // The special-features dialog.
  UserText specialFeaturesCaption{15300, u"Special Features"};
  UserText okButton{15301, u"OK"};
  UserText cancelButton{15302, u"Cancel"};
  UserText autoloadSequential{15303, u"Autoload sequential files"};
  UserText stripPcZeros{15304, u"Strip Leading Zeros From PC Filename"};
  UserText hybridNumber{15305, u"Use LLLSSES LINDE/NCE hybrid format number"};
  UserText stripNceZeros{15306, u"Strip Leading Zeros From NCE Filename"};
  UserText autoloadOptions{15307, u"Autoload Options"};
  UserText hybridNote{
      15308, u"LLLSSES format comprises a three digit lot number (LLL) , a two digit start sheet "
             u"(SS) and a two digit end sheet (ES). e.g. 3730417 loads sheets 37304 to 37317"};

  // File choosers and the windows of a transfer by hand.
  UserText openNcFile{15310, u"Open NC file"};
  UserText saveNcFileAs{15311, u"Save NC file as"};
  UserText ncFiles{15312, u"NC files"};
  UserText allFiles{15313, u"All Files"};
  UserText saveLogFileAs{15314, u"Save Log File As"};
  UserText logFiles{15315, u"Log files"};
  UserText textFiles{15316, u"Text files"};
  UserText downloadEnd{15317, u"Download End"};
  UserText uploadEnd{15318, u"Upload End"};
  UserText complete{15319, u"Complete"};
  UserText chooseUploadPath{15329, u"Upload Path"};
  UserText chooseDownloadPath{15339, u"Download Path"};
  UserText downloadEndNote{
      15585,
      u"The NC program is sent when the machine asks for it. This window closes at the end."};
  UserText uploadEndNote{15586, u"Start sending at the machine. \"Complete\" keeps what has "
                                u"arrived; \"Cancel\" keeps nothing."};

  // Messages.
  UserText notAsciiFile{15320, u"Not a valid ASCII file."};
  UserText logNotWritable{15321, u"Unable to write to log file"};
  UserText badIniFile{15322, u"Warning: Bad INI file load"};
  UserText settingsLost{15323, u"Possible loss of settings"};
  UserText corruptInstallation{15324, u"Corrupt Installation"};
  UserText programPathsNotIn{15326, u"Unable to locate Program Paths in\n\n%s"};
  UserText noWorkingFolder{
      15327, u"Unable to locate Program Paths\n\nWorking directory has not been setup."};
  UserText log{15328, u"Log"};
  UserText transferRuns{15440, u"End the running transfer first (\"%s\") or wait for its end: %s"};
  UserText noLinkForJob{15441, u"There is no link: look at the device and at the port setting."};
  UserText onlyControllerCompletes{15443, u"Only the controller can complete this upload."};
  UserText noTransferRuns{15444, u"No transfer is running."};
  UserText nothingReceived{15445, u"Nothing is being received."};
  UserText uploadWithoutNumber{15446, u"No number was asked for: this upload is stored as \"%s\". "
                                      u"Ask for its number at the machine, then send it again."};
  UserText uploadCutShort{15447, u"Stored only up to a \"]\" in the text of a line: the program is "
                                 u"incomplete. Remove it and send the program again."};
  UserText uploadStands{15448, u"Nothing has come for a minute, and no \"]\" has ended this "
                               u"upload. Send on at the machine, or end it here: %s"};
  UserText programDamaged{15450, u"\"%s\" is damaged or can't be read in full: it was not sent."};
  UserText programTooLarge{15451, u"\"%s\" is too large: it was not read."};
  UserText programStillWritten{
      15453, u"\"%s\" is still being written by another program: it was not sent."};
  UserText setupAdvice{15478,
                       u"ncedl-setup --main FOLDER makes the folders and their list, KOR.INI"};
  UserText lookingForPort{15554,
                          u"Looking for %s. Devices here: %s. It is tried again every second."};
  UserText noDevices{15555, u"none"};
  UserText plugInAdapter{15600, u"Plug in the adapter, or choose another port in the settings."};
  UserText closeOtherProgram{15601,
                             u"Close the other program, or choose another port in the settings."};
  UserText deviceNotAllowed{15602, u"This user may not use the device: on Linux, add the user to "
                                   u"the group \"dialout\" and log in anew."};
  UserText deviceForbidden{15860, u"The service's unit does not allow this device: add a "
                                  u"DeviceAllow= line for its driver (systemctl edit)."};

  // The steps with the serial port, as captions of a message.
  UserText stepClosePrevious{15330, u"Close Previous Connection"};
  UserText stepOpen{15331, u"Open Comm"};
  UserText stepSetQueueSizes{15332, u"Set Comm Buffer Sizes"};
  UserText stepGetState{15333, u"Get Comm State"};
  UserText stepUpdateState{15334, u"Update Comm State"};
  UserText stepSetState{15335, u"Set Comm State"};
  UserText stepSetTimeouts{15336, u"Setup_Timeouts"};
  UserText stepCheckStatus{15337, u"Comms Status Check"};
  UserText stepReadData{15338, u"Read Data"};

  // What a channel has counted.
  UserText framingErrors{15460, u"%u framing errors: check baud rate and parity"};
  UserText parityErrors{15461, u"%u parity errors: check parity and data bits"};
  UserText overrunErrors{
      15462, u"%u overrun errors: bytes were lost; check flow control or lower the baud rate"};

  // The headline: the link's state in words for somebody two metres away.
  UserText noLink{15530, u"No link"};
  UserText ready{15531, u"Ready"};
  UserText preparing{15532, u"Preparing %s"};
  UserText sending{15533, u"Sending %s"};
  UserText receiving{15534, u"Receiving %s"};
  UserText sent{15535, u"Sent %s"};
  UserText received{15536, u"Received %s"};
  UserText programNotFound{15537, u"Not found: %s"};
  UserText failed{15538, u"Failed: %s"};
  UserText cancelled{15539, u"Cancelled: %s"};
  UserText listingPrograms{15540, u"Listing programs"};
  UserText lineTestPassed{15541, u"Line test passed"};
  UserText lineTestFailed{15542, u"Line test: no answer"};
  UserText dataLost{15543, u"Data lost"};
  UserText listingFailed{15603, u"Listing failed"};

  // The band: the state in one word.
  UserText wordPreparing{15700, u"Preparing"};
  UserText wordSending{15701, u"Sending"};
  UserText wordReceiving{15702, u"Receiving"};
  UserText wordSent{15703, u"Sent"};
  UserText wordReceived{15704, u"Received"};
  UserText wordNotFound{15705, u"Not found"};
  UserText wordFailed{15706, u"Failed"};
  UserText wordCancelled{15707, u"Cancelled"};
  UserText wordHeld{15708, u"Held"};
  UserText wordNoLink{15709, u"No link"};
  UserText wordListing{15710, u"Listing"};
  UserText wordLineGood{15711, u"Line good"};
  UserText wordNoAnswer{15712, u"No answer"};
  UserText wordDataLost{15713, u"Data lost"};
  UserText wordBusy{15714, u"Busy"};
  UserText wordDone{15715, u"Done"};

  // The band: what to do.
  UserText adviceReady{15716, u"The machine may ask for a program at any time."};
  UserText adviceLineTested{15717, u"The machine has tested the line: it is good."};
  UserText adviceListing{15718, u"The machine is looking through the programs of this PC."};
  UserText adviceBegins{15719, u"The transfer begins in a moment."};
  UserText adviceWaitsForMachine{
      15720, u"Waiting for the machine. If nothing happens, start the transfer there."};
  UserText adviceSending{
      15721, u"Wait until the machine has the whole program. Grey buttons work again then."};
  UserText adviceReceiving{
      15722, u"Wait until the whole program is stored here. Grey buttons work again then."};
  UserText adviceStartSending{
      15723, u"Start sending at the machine. Press \"%s\" when the machine has sent all."};
  UserText adviceComplete{
      15724, u"Press \"%s\" when the machine has sent all. Grey buttons work again then."};
  UserText adviceHeld{15725, u"The machine has stopped the transfer (%s) for %s. It goes on by "
                             u"itself when the machine does."};
  UserText adviceStands{
      15726, u"Nothing has moved for %s. It goes on when the machine does: look at the machine."};
  UserText adviceNotFound{15727, u"This PC does not have the program, or can't read it. Put it "
                                 u"into %s, then ask for it again at the machine."};
  UserText adviceNotStored{15728, u"The program could not be stored in %s. Is the folder there, "
                                  u"and may this program write to it?"};
  UserText adviceOnlyAPart{15729, u"The machine has only a part. Do not cut with it: delete it at "
                                  u"the machine, then ask for the program again."};
  UserText adviceNothingKept{
      15730, u"Nothing of the program has been kept here. Send it again at the machine."};
  UserText adviceSent{15731, u"The machine has the whole program."};
  UserText adviceReceived{15732, u"The whole program is stored on this PC."};
  UserText adviceNoEcho{
      15733,
      u"The test text has not come back. Is the plug on this port, and is it the right port?"};
  UserText adviceEcho{15734, u"The port works. Take the plug off and connect the machine again."};
  UserText adviceNoList{
      15735, u"The folder of the programs is missing or can't be read. Is its server there?"};
  UserText adviceDataLost{15736, u"More came than can be used, most often with a wrong baud rate. "
                                 u"Compare the settings of the line with the machine's."};
  UserText adviceNotAProgram{15737,
                             u"The program is no text that the machine takes. Look into its file."};
  UserText adviceOtherComputer{
      15738,
      u"The other computer is missing, or both play the same part. Look at the settings of both."};
  UserText adviceNothingToDo{15739, u"Nothing has to be done here."};
  UserText refusedThreeTimes{15740, u"The machine refused a line three times."};

  // The jobs of the day, Service and the footer.
  UserText jobsProgram{15741, u"Program"};
  UserText jobsTime{15742, u"Time"};
  UserText jobsResult{15743, u"Result"};
  UserText jobsBytes{15744, u"Bytes"};
  UserText jobsNone{15745, u"No transfers yet today"};
  UserText jobsCounts{15746, u"%i good, %i failed"};
  UserText resultSent{15747, u"Received by the machine"};
  UserText resultReceived{15748, u"Stored on this PC"};
  UserText resultSendingFailed{15749, u"Sending failed"};
  UserText resultReceivingFailed{15750, u"Receiving failed"};
  UserText resultSendingCancelled{15751, u"Sending cancelled"};
  UserText resultReceiptCancelled{15752, u"Receiving cancelled"};
  UserText service{15753, u"Service"};
  UserText serviceHolds{15754, u"settings, line test, monitor"};
  UserText help{15756, u"Help"};
  UserText monitorPaused{15757, u"paused, newest below"};
  UserText noGuide{15758, u"The user guide is not installed here. It comes with the documentation "
                          u"of the program: user-guide.html."};
  UserText guideNotOpened{15790, u"No program on this PC has opened the user guide:"};

  // The console: what its commands do.
  UserText helpStatus{15401, u"show the link status"};
  UserText helpSend{15402, u"send a file by hand"};
  UserText helpReceive{15403, u"receive into a file by hand"};
  UserText helpComplete{15404, u"end a receipt and keep the file"};
  UserText helpCancel{15405, u"give up the running transfer"};
  UserText helpLoopback{15406, u"test the port with a loop-back plug"};
  UserText helpXon{15407, u"send XOFF, and XON three seconds later"};
  UserText helpMonitor{15408, u"show what travels on the line"};
  UserText helpTrace{15409, u"write the communications trace"};
  UserText helpRts{15410, u"RTS/CTS handshake; re-opens the port"};
  UserText helpDtr{15411, u"DTR/DSR handshake; re-opens the port"};
  UserText helpSettings{15412, u"show the settings"};
  UserText helpSet{15413, u"change a setting; re-opens the port"};
  UserText helpSpecial{15414, u"show or change the special features"};
  UserText helpHelp{15415, u"show the commands"};
  UserText helpQuit{15416, u"end the program"};
  UserText helpJobs{15417, u"show the jobs of today"};

  // The console: its answers and its start.
  UserText unknownCommand{15420, u"unknown command \"%s\"; \"help\" lists them"};
  UserText usage{15421, u"usage: %s %s"};
  UserText unknownSetting{15422, u"unknown setting \"%s\"; \"settings\" lists them"};
  UserText unknownFeature{15423, u"unknown feature \"%s\"; \"special\" lists them"};
  UserText timeLeft{15426, u"%s left"};
  UserText stripPcWithoutUse{
      15449, u"strip-pc plays no part while autoload and hybrid are on; first: special hybrid off"};
  UserText hybridNeedsAutoload{15475, u"hybrid needs autoload; first: special autoload on"};
  UserText held{15500, u"held"};
  UserText quitDuringTransfer{15501,
                              u"A transfer is running. Ctrl-C or \"quit\" once more ends it."};
  UserText portLabel{15502, u"Port"};
  UserText programsLabel{15503, u"Programs"};
  UserText uploadsLabel{15504, u"Uploads"};
  UserText helpHint{15505, u"\"help\" lists the commands."};

  // A line over the network.
  UserText noLineAddress{15820, u"%s is no address of a serial line: write rfc2217://HOST:PORT or "
                                u"tcp://HOST:PORT"};
  UserText addressWithoutPort{15821, u"%s: the address has to end with a colon and the server's "
                                     u"port, 1 to 65535"};
  UserText addressWithBlank{15822, u"%s: an address has no blanks in it"};
  UserText addressWithoutBrackets{15823, u"%s: write an IPv6 address in brackets, such as "
                                         u"rfc2217://[fd00::7]:4001"};
  UserText serverClosed{15824, u"The server has closed the connection; another program may have "
                               u"taken its port"};
  UserText serverSays{15825, u"The server says: %s"};
  UserText noComPortServer{15826, u"The server doesn't speak RFC 2217; an address with tcp:// may "
                                  u"do"};
  UserText serverSetOther{15827, u"%s was asked for, but the server has set %s"};
  UserText serverLeftUnanswered{15828, u"The server has not answered %s: its own settings hold "
                                       u"there"};
  UserText serverObeysLess{15829, u"The server can't do this flow control by itself: the program "
                                  u"does the rest of it, a little later"};
  UserText unknownHost{15830, u"No computer of the name %s is known here"};
  UserText checkServer{15831, u"Check that the device server is on and can be reached, and its "
                              u"address."};
  UserText serverSilent{15832, u"The server doesn't answer; another program may have taken its "
                               u"port"};
};

inline constexpr UserTexts kTexts;

} // namespace kor
