// The numbers of the language resource library's strings. Nothing but #define: the resource
// compiler reads this file.
//
// Kind says how the text is used. "template": inserts ^1, ^2, … are replaced by the texts listed;
// "printf": a wvsprintfW format; "text": shown as it stands; "number": a decimal number. Capacity
// is what the callers' buffers hold, in characters with the terminator; a longer text is cut there.
#ifndef KV_RESOURCES_STRING_IDS_H
#define KV_RESOURCES_STRING_IDS_H

// The icon that windows show.
#define IDI_PRODUCT 11

// number; the product-kind code of the edition that this library belongs to. Capacity 260.
#define IDS_PRODUCT_KIND 10060
// template: 1 the product's name. The name of the product's virtual printer, as windows and
// messages call it. Capacity 80.
#define IDS_PRINTER_TITLE 10084

// text; the Cancel button. Capacity 32.
#define IDS_CANCEL 12001
// number or paper name; the default paper size. Capacity 260.
#define IDS_DEFAULT_PAPER 12002
// text; the decimal separator that people of this language expect. Capacity 32.
#define IDS_DECIMAL_SEPARATOR 12003
// number, at least 1; the point size of small text in windows. Capacity 260.
#define IDS_SMALL_TEXT_SIZE 12004
// text; shown while a cancelled operation comes to its end, without the dots. Capacity 80.
#define IDS_CANCELLING 12044
// text; the caption of the additional button of message boxes, without the dots. Capacity 80.
#define IDS_MORE_INFORMATION 12083

// Reports. All are templates of capacity 1024. A "reason" is either empty or a full stop, an empty
// line and the system's text without its closing full stop: it stands directly behind the sentence,
// before the template's own full stop. 1 the printer's name; 2 the reason, or the separator and
// IDS_NEED_ADMINISTRATOR.
#define IDS_PRINTER_NOT_CREATED 12094
// 1 the file's name; 2 the destination's path.
#define IDS_COPY_FAILED 12100
// 1 the directory's path.
#define IDS_DIRECTORY_NOT_CREATED 12101
// 1 the file's name; 2 the reason.
#define IDS_FILE_NOT_CREATED 12102
// 1 the file's path; 2 (at one place) the reason.
#define IDS_FILE_NOT_DELETED 12105
// 1 the file's path.
#define IDS_FILE_NOT_FOUND 12106
// 1 the failed call's name; 2 the reason; 3 the product's name.
#define IDS_MONITOR_NOT_INSTALLED 12110
// 1 an internal routine's name or a short text in the developer's words.
#define IDS_ROUTINE_FAILED 12111
// 1 the library's file name; 2 the reason.
#define IDS_LIBRARY_NOT_LOADED 12113
// text; put in place of a reason when rights are missing: no full stop at its end.
#define IDS_NEED_ADMINISTRATOR 12115
// 1 what failed, in the developer's words.
#define IDS_INTERNAL_ERROR 12117
// No inserts.
#define IDS_RESOURCE_ERROR 12118
// 1 the file's name; 2 the reason.
#define IDS_FILE_NOT_OPENED 12120
// 1 the file's path; 2 the reason.
#define IDS_READ_FAILED 12123
// 1 the file's path; 2 the reason.
#define IDS_SEEK_FAILED 12125
// No inserts.
#define IDS_OUT_OF_MEMORY 12126
// 1 a call's or routine's name; 2 the reason, or a text such as "--timed out waiting for service".
#define IDS_CALL_FAILED 12130
// 1 the file's path; 2 the reason.
#define IDS_WRITE_FAILED 12131

// printf: two strings, the smaller and the larger dimension of a paper. Capacity 80.
#define IDS_PAPER_SIZE_INCHES 12138
#define IDS_PAPER_SIZE_MILLIMETRES 12140

// template: 1 the product's name. A question with Retry and Cancel. Capacity 1024.
#define IDS_GDIPLUS_MISSING 12232

// Texts of the command-line program. All are templates, or texts without inserts; capacity
// 1024, and 2048 with the inserts filled.
#define IDS_CTL_HELP 14000                  // text; the head of the help text
#define IDS_CTL_SEE_HELP 14001              // 1 the command
#define IDS_CTL_UNKNOWN_COMMAND 14002       // 1 the word
#define IDS_CTL_UNKNOWN_OPTION 14003        // 1 the option
#define IDS_CTL_VALUE_MISSING 14004         // 1 the option
#define IDS_CTL_UNEXPECTED_VALUE 14005      // 1 the option
#define IDS_CTL_OPERAND_MISSING 14006       // text
#define IDS_CTL_UNEXPECTED_OPERAND 14007    // 1 the word
#define IDS_CTL_ERROR_NUMBER 14008          // 1 the number
#define IDS_CTL_OUTPUT_LOST 14009           // text
#define IDS_CTL_PORTS_SUMMARY 14010         // text
#define IDS_CTL_PORTS_USAGE 14011           // text
#define IDS_CTL_CANNOT_LIST_PORTS 14012     // text
#define IDS_CTL_MONITORS_SUMMARY 14013      // text
#define IDS_CTL_MONITORS_USAGE 14014        // text
#define IDS_CTL_CANNOT_LIST_MONITORS 14015  // text
#define IDS_CTL_INSTALL_SUMMARY 14020       // text
#define IDS_CTL_INSTALL_USAGE 14021         // text
#define IDS_CTL_CANNOT_COPY 14022           // 1 the source; 2 the destination
#define IDS_CTL_CANNOT_ADD_MONITOR 14023    // 1 the monitor's name
#define IDS_CTL_CANNOT_ADD_PRINTER 14024    // 1 the printer's name
#define IDS_CTL_DRIVER_MISSING 14025        // 1 the driver's name
#define IDS_CTL_INSTALLED 14026             // 1 the printer's name; 2 the port; 3 the driver
#define IDS_CTL_PRINT_SUMMARY 14030         // text
#define IDS_CTL_PRINT_USAGE 14031           // text
#define IDS_CTL_NO_PRINTER 14032            // 1 the port
#define IDS_CTL_CANNOT_OPEN 14033           // 1 the file
#define IDS_CTL_CANNOT_READ 14034           // 1 the file
#define IDS_CTL_CANNOT_START_JOB 14035      // 1 the printer
#define IDS_CTL_CANNOT_WRITE_JOB 14036      // 1 the printer
#define IDS_CTL_CANNOT_END_JOB 14037        // 1 the printer
#define IDS_CTL_PRINTED \
  14038  // 1 the file; 2 the job number; 3 bytes sent; 4 bytes accepted; 5 the size; 6 the
         // duration; 7 the speed as a size
#define IDS_CTL_SETTINGS_SUMMARY 14040        // text
#define IDS_CTL_SETTINGS_USAGE 14041          // text
#define IDS_CTL_SETTINGS_UNKNOWN_NAME 14043   // 1 the word
#define IDS_CTL_SETTINGS_NOT_SET 14044        // 1 the setting
#define IDS_CTL_SETTINGS_MACHINE_ONLY 14045   // 1 the setting
#define IDS_CTL_SETTINGS_USER_ONLY 14046      // 1 the setting
#define IDS_CTL_SETTINGS_ONE_SCOPE 14047      // text
#define IDS_CTL_SETTINGS_NOT_A_NUMBER 14048   // 1 the setting; 2 the word
#define IDS_CTL_SETTINGS_TOO_LONG 14049       // 1 the setting; 2 the number of characters
#define IDS_CTL_SETTINGS_NEED_RIGHTS 14050    // text
#define IDS_CTL_SETTINGS_CANNOT_WRITE 14051   // 1 the setting
#define IDS_CTL_SETTINGS_NUMBER 14052         // text; a type
#define IDS_CTL_SETTINGS_TEXT 14053           // text; a type
#define IDS_CTL_SETTINGS_MACHINE 14054        // text; whose setting it is
#define IDS_CTL_SETTINGS_USER 14055           // text; whose setting it is
#define IDS_CTL_SETTINGS_READ_VIEW 14056      // 1 the number of bits
#define IDS_CTL_SETTINGS_OTHER_VIEW 14057     // 1 the number of bits
#define IDS_CTL_SETTINGS_UNSET 14058          // text; stands for a value
#define IDS_CTL_SETTINGS_COMPATIBILITY 14060  // text; what the setting does, as the next ones
#define IDS_CTL_SETTINGS_SILENT 14061
#define IDS_CTL_SETTINGS_APPDIR 14062
#define IDS_CTL_SETTINGS_HELP 14063
#define IDS_CTL_SETTINGS_LANGUAGE 14064
#define IDS_CTL_SETTINGS_DUPLEX 14065
#define IDS_CTL_SESSIONS_SUMMARY 14080       // text
#define IDS_CTL_SESSIONS_USAGE 14081         // text
#define IDS_CTL_NO_SESSIONS 14082            // text
#define IDS_CTL_WHOAMI_SUMMARY 14084         // text
#define IDS_CTL_WHOAMI_USAGE 14085           // text
#define IDS_CTL_WHOAMI_USER 14086            // 1 the user's name
#define IDS_CTL_WHOAMI_SID 14087             // 1 the SID
#define IDS_CTL_WHOAMI_ADMINISTRATOR 14088   // 1 yes, no or unknown
#define IDS_CTL_WHOAMI_ELEVATED 14089        // 1 yes or no
#define IDS_CTL_WHOAMI_INTEGRITY 14090       // 1 the level's name; 2 its number
#define IDS_CTL_YES 14091                    // text
#define IDS_CTL_NO 14092                     // text
#define IDS_CTL_UNKNOWN 14093                // text
#define IDS_CTL_INTEGRITY_UNTRUSTED 14094    // text
#define IDS_CTL_INTEGRITY_LOW 14095          // text
#define IDS_CTL_INTEGRITY_MEDIUM 14096       // text
#define IDS_CTL_INTEGRITY_HIGH 14097         // text
#define IDS_CTL_INTEGRITY_SYSTEM 14098       // text
#define IDS_CTL_SPOOLER_SUMMARY 14100        // text
#define IDS_CTL_SPOOLER_USAGE 14101          // text
#define IDS_CTL_SPOOLER_RUNS 14102           // text
#define IDS_CTL_SPOOLER_STOPPED 14103        // text
#define IDS_CTL_SPOOLER_NEEDS_RIGHTS 14104   // text
#define IDS_CTL_SPOOLER_NOT_RESTARTED 14105  // text
#define IDS_CTL_SPOOLER_RESTARTED 14106      // text
#define IDS_CTL_DEMO_SUMMARY 14110           // text
#define IDS_CTL_DEMO_USAGE 14111             // text
#define IDS_CTL_DEMO_STEP 14112              // 1 the seconds that have passed; 2 those in all
#define IDS_CTL_DEMO_FINISHED 14113          // text
#define IDS_CTL_DEMO_CANCELLED 14114         // text
#define IDS_CTL_DEMO_BOX 14115               // text
#define IDS_CTL_DEMO_NOT_A_NUMBER 14116      // 1 the option; 2 the word
#define IDS_CTL_PRINTING 14120               // 1 the file
#define IDS_CTL_PRINT_CANCELLED 14121        // 1 the file
#define IDS_CTL_DOCNAME_SUMMARY 14140        // text
#define IDS_CTL_DOCNAME_USAGE 14141          // text
#define IDS_CTL_SHORTCUT_SUMMARY 14160       // text
#define IDS_CTL_SHORTCUT_USAGE 14161         // text
#define IDS_CTL_SHORTCUT_NOT_WRITTEN 14162   // 1 the shortcut; 2 its target
#define IDS_CTL_SHORTCUT_NOT_READ 14163      // 1 the shortcut
#define IDS_CTL_SHORTCUT_TARGET 14164        // 1 a path
#define IDS_CTL_SHORTCUT_ADDRESS 14165       // 1 an address
#define IDS_CTL_SHORTCUT_PRINTER 14166       // 1 a printer
#define IDS_CTL_SHORTCUT_ARGUMENTS 14167     // 1 the arguments
#define IDS_CTL_SHORTCUT_DIRECTORY 14168     // 1 a path
#define IDS_CTL_SHORTCUT_ICON 14169          // 1 a file; 2 the icon's index
#define IDS_CTL_SHORTCUT_DESCRIPTION 14170   // 1 a text
#define IDS_CTL_SHORTCUT_NOT_A_NUMBER 14171  // 1 the option; 2 the word
#define IDS_CTL_DESCRIBE_SUMMARY 14180       // text
#define IDS_CTL_DESCRIBE_USAGE 14181         // text
#define IDS_CTL_DESCRIBE_NOTHING 14182       // text
#define IDS_CTL_LOCALES_SUMMARY 14184        // text
#define IDS_CTL_LOCALES_USAGE 14185          // text
#define IDS_CTL_LOCALES_NONE 14186           // text
#define IDS_CTL_LOCALES_UNKNOWN 14187        // 1 the name
#define IDS_CTL_INSTALL_WRONG_SYSTEM 14320   // text
#define IDS_CTL_INSTALL_OTHER_PACKAGE 14321  // text
#define IDS_CTL_INSTALL_NEEDS_RIGHTS 14322   // text
#define IDS_CTL_PACKAGE_INCOMPLETE 14323     // 1 the missing file
#define IDS_CTL_PRINTER_ELSEWHERE 14324      // 1 the printer; 2 its port
#define IDS_CTL_REPLACED 14325               // 1 the file; 2 the old version; 3 the new one
#define IDS_CTL_KEPT_NEWER 14326             // 1 the file; 2 its version
#define IDS_CTL_REPLACED_AT_RESTART 14327    // 1 the file
#define IDS_CTL_PORT_MISSING 14328           // 1 the port
#define IDS_CTL_UNDONE 14329                 // text
#define IDS_CTL_UNDO_INCOMPLETE 14330        // text
#define IDS_CTL_UNKNOWN_PAPER 14331          // 1 the word
#define IDS_CTL_NO_DRIVER_DIRECTORY 14332    // text
#define IDS_CTL_NO_SYSTEM_DIRECTORY 14333    // text
#define IDS_CTL_REMOVE_SUMMARY 14340         // text
#define IDS_CTL_REMOVE_USAGE 14341           // text
#define IDS_CTL_CANNOT_LIST_PRINTERS 14342   // text
#define IDS_CTL_CANNOT_DELETE_PRINTER 14343  // 1 the printer
#define IDS_CTL_CANNOT_REMOVE_MONITOR 14344  // 1 the monitor's name
#define IDS_CTL_CANNOT_DELETE_FILE 14345     // 1 the file
#define IDS_CTL_REMOVED_PRINTER 14346        // 1 the printer
#define IDS_CTL_REMOVED_MONITOR 14347        // 1 the monitor's name
#define IDS_CTL_REMOVED_FILE 14348           // 1 the file
#define IDS_CTL_DELETED_AT_RESTART 14349     // 1 the file
#define IDS_CTL_REMOVED_SETTINGS 14350       // 1 the key
#define IDS_CTL_KEPT_SETTINGS 14351          // 1 the key
#define IDS_CTL_NOTHING_REMOVED 14352        // text
#define IDS_CTL_STATUS_SUMMARY 14360         // text
#define IDS_CTL_STATUS_USAGE 14361           // text
#define IDS_CTL_STATUS_FILE 14362            // 1 the path; 2 the version
#define IDS_CTL_STATUS_FILE_MISSING 14363    // 1 the path
#define IDS_CTL_STATUS_MODULE 14364          // 1 a file
#define IDS_CTL_STATUS_RESOURCES 14365       // 1 a file; 2 its language
#define IDS_CTL_STATUS_REGISTERED 14366      // 1 yes or no
#define IDS_CTL_STATUS_SPOOLER 14367         // 1 yes or no
#define IDS_CTL_STATUS_PORT 14368            // 1 the port; 2 yes or no
#define IDS_CTL_STATUS_PRINTER 14369         // 1 the printer; 2 its driver
#define IDS_CTL_STATUS_DELETION 14370        // 1 the file
#define IDS_CTL_STATUS_REPLACEMENT 14371     // 1 the new file; 2 what it replaces
#define IDS_CTL_PRINTERS_ONE_CHOICE 14380    // text
#define IDS_CTL_MARGINS 14381                // 1 the printer; 2 dpi; 3 to 6 the margins
#define IDS_CTL_CANNOT_MEASURE 14382         // 1 the printer
#define IDS_CTL_PAPERS_SUMMARY 14220         // text
#define IDS_CTL_PAPERS_USAGE 14221           // text
#define IDS_CTL_PAPERS_UNKNOWN 14223         // 1 the name
#define IDS_CTL_PAPERS_BAD_SIZE 14224        // 1 the word
#define IDS_CTL_PAPERS_BAD_NAME 14225        // 1 the name; 2 the number of characters
#define IDS_CTL_PAPERS_STANDARD_NAME 14226   // 1 the name
#define IDS_CTL_PAPERS_NOT_STORED 14227      // 1 the name
#define IDS_CTL_PRINTERS_SUMMARY 14240       // text
#define IDS_CTL_PRINTERS_USAGE 14241         // text
#define IDS_CTL_PRINTER_SUMMARY 14250        // text
#define IDS_CTL_PRINTER_USAGE 14251          // text
#define IDS_CTL_CANNOT_OPEN_PRINTER 14253    // 1 the name
#define IDS_CTL_LAYER_DEFAULTS 14260         // text; where a setting comes from, as the next ones
#define IDS_CTL_LAYER_PRINTER 14261
#define IDS_CTL_LAYER_GLOBAL 14262
#define IDS_CTL_LAYER_USER 14263
#define IDS_CTL_LAYER_STORED 14264
#define IDS_CTL_LAYER_CALLER 14265
#define IDS_CTL_LAYER_STORED_OWN 14266
#define IDS_CTL_DEFAULT_SUMMARY 14280       // text
#define IDS_CTL_DEFAULT_USAGE 14281         // text
#define IDS_CTL_NO_DEFAULT_PRINTER 14282    // text
#define IDS_CTL_DEFAULT_NOT_SET 14283       // 1 the name
#define IDS_CTL_DEFAULT_NEEDS_RIGHTS 14284  // text

#define IDS_CTL_DID_YOU_MEAN 14016     // 1 a word
#define IDS_CTL_UNKNOWN_ACTION 14017   // 1 the command; 2 the word
#define IDS_CTL_OPTION_NOT_HERE 14018  // 1 the command; 2 the option
#define IDS_CTL_SEE_COMMANDS 14019     // text
#define IDS_CTL_PORT_INSTALLED 14027   // 1 the port
#define IDS_CTL_NO_VERSION 14028       // 1 the file
#define IDS_CTL_DRIVER_STAYS 14029  // 1 the printer; 2 its driver; 3 the other driver; 4 the reason
#define IDS_CTL_PAPER_NOT_STORED 14334       // 1 the printer
#define IDS_CTL_PRINTER_IS_CONNECTION 14335  // 1 the name
#define IDS_CTL_BAD_PRINTER_NAME 14336       // 1 the name; 2 the number of characters
#define IDS_CTL_NOT_TOGETHER 14337           // 1 an option; 2 another option
#define IDS_CTL_JOBS_WAIT 14353              // 1 the number of jobs; 2 the printer
#define IDS_CTL_STATUS_NO_RESOURCES 14372    // 1 a file
#define IDS_CTL_STANDARD_INPUT 14122         // text
#define IDS_CTL_PRINT_PROGRESS \
  14123  // 1 the file; 2 per cent; 3 the rate as a size; 4 the duration left
#define IDS_CTL_PRINT_PROGRESS_OPEN 14124  // 1 the file; 2 the size sent; 3 the rate as a size
#define IDS_CTL_PRINTED_ALL \
  14125  // 1 the files printed; 2 all of them; 3 bytes sent; 4 bytes accepted; 5 to 7 as above
#define IDS_CTL_DRIVERS_SUMMARY 14188          // text
#define IDS_CTL_DRIVERS_USAGE 14189            // text
#define IDS_CTL_CANNOT_LIST_DRIVERS 14190      // text
#define IDS_CTL_COMPLETION_SUMMARY 14191       // text
#define IDS_CTL_COMPLETION_USAGE 14192         // text
#define IDS_CTL_HELP_SUMMARY 14193             // text
#define IDS_CTL_HELP_USAGE 14194               // text
#define IDS_CTL_VERDICT_WORKS 14400            // 1 the port
#define IDS_CTL_VERDICT_NO_PRINTER 14401       // 1 the port
#define IDS_CTL_VERDICT_UNTIL_STOPPED 14402    // 1 the port
#define IDS_CTL_VERDICT_RESTART_DUE 14403      // 1 the port
#define IDS_CTL_VERDICT_NOT_INSTALLED 14404    // 1 the port
#define IDS_CTL_VERDICT_SPOOLER_STOPPED 14405  // 1 the port
#define IDS_CTL_VERDICT_MODULE_MISSING 14406   // 1 the port
#define IDS_CTL_VERDICT_TEXTS_MISSING 14407    // 1 the port
#define IDS_CTL_VERDICT_NOT_REGISTERED 14408   // 1 the port
#define IDS_CTL_VERDICT_NOT_LISTED 14409       // 1 the port
#define IDS_CTL_ADVICE_PRINTER 14420           // text
#define IDS_CTL_ADVICE_INSTALL 14421           // text
#define IDS_CTL_ADVICE_RESTART 14422           // text
#define IDS_CTL_ADVICE_START_SPOOLER 14423     // text
#define IDS_CTL_ADVICE_REPLACE 14424           // text
#define IDS_CTL_HEADING_NOTHING 14440          // text; a heading
#define IDS_CTL_HEADING_PORT 14441             // text; a heading
#define IDS_CTL_HEADING_MONITOR 14442          // text; a heading
#define IDS_CTL_HEADING_DESCRIPTION 14443      // text; a heading
#define IDS_CTL_HEADING_ENVIRONMENT 14444      // text; a heading
#define IDS_CTL_HEADING_FILE 14445             // text; a heading
#define IDS_CTL_HEADING_DRIVER 14446           // text; a heading
#define IDS_CTL_HEADING_VERSION 14447          // text; a heading
#define IDS_CTL_HEADING_NUMBER 14448           // text; a heading
#define IDS_CTL_HEADING_STATION 14449          // text; a heading
#define IDS_CTL_HEADING_USER 14450             // text; a heading
#define IDS_CTL_HEADING_CLIENT 14451           // text; a heading
#define IDS_CTL_HEADING_PROTOCOL 14452         // text; a heading
#define IDS_CTL_HEADING_LANGUAGE 14453         // text; a heading
#define IDS_CTL_HEADING_NAME 14454             // text; a heading
#define IDS_CTL_HEADING_CODE_PAGE 14455        // text; a heading
#define IDS_CTL_HEADING_SETTING 14456          // text; a heading
#define IDS_CTL_HEADING_VALUE 14457            // text; a heading
#define IDS_CTL_HEADING_ORIGIN 14458           // text; a heading
#define IDS_CTL_HEADING_PRINTER 14459          // text; a heading
#define IDS_CTL_HEADING_SHARE 14460            // text; a heading
#define IDS_CTL_HEADING_SERVER 14461           // text; a heading
#define IDS_CTL_HEADING_PAPER 14462            // text; a heading
#define IDS_CTL_HEADING_SIZE 14463             // text; a heading

#endif
