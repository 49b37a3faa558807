// The identifiers of the program's resources, commands and controls, and the names of its window classes.
// Whoever drives the window from outside finds everything here. Commands of the menu and the buttons that do
// the same share one identifier.
#pragma once

// The main window's resources: icon, menu, accelerators.
#define IDR_MAINFRAME 128

// Class names, for FindWindow.
#define TOLVANE_FRAME_CLASS L"TolvaneForAccessFrame"
#define TOLVANE_VIEW_CLASS L"TolvaneForAccessView"

// Labels that nobody asks for.
#ifndef IDC_STATIC
#define IDC_STATIC -1
#endif

// Dialogs.
#define IDD_SETTINGS 130
#define IDD_START_RECOVER 131
#define IDD_ABOUT 132
#define IDD_CELL 133
#define IDD_EXPORT 134
// Context menus.
#define IDR_TREE_MENU 140
#define IDR_RECORDS_MENU 141

// Controls of the settings dialog.
#define IDC_SETTINGS_PREFIX 1010
#define IDC_SETTINGS_ENGINE 1011
#define IDC_SETTINGS_RULES 1013
#define IDC_SETTINGS_ENGINE_NOTE 1014
#define IDC_SETTINGS_VALUES 1015

// Controls of the start dialog.
#define IDC_START_STANDARD 1020
#define IDC_START_STANDARD_TEXT 1021
#define IDC_START_TEMPLATE 1022
#define IDC_START_TEMPLATE_TEXT 1023
#define IDC_START_FILE 1024
#define IDC_START_CHOOSE_FILE 1025
#define IDC_START_TEMPLATE_LABEL 1026
#define IDC_START_TEMPLATE_FILE 1027
#define IDC_START_CHOOSE_TEMPLATE 1028

// Controls of the other dialogs.
#define IDC_ABOUT_ICON 1030
#define IDC_ABOUT_NAME 1031
#define IDC_ABOUT_TEXT 1032
#define IDC_CELL_TEXT 1040
#define IDC_CELL_COPY 1041

// Controls of the export dialog.
#define IDC_EXPORT_TABLES 1050
#define IDC_EXPORT_FORM 1051
#define IDC_EXPORT_NOTE 1052
#define IDC_EXPORT_PLACE_LABEL 1053
#define IDC_EXPORT_PLACE 1054
#define IDC_EXPORT_BROWSE 1055

// Children of the frame.
#define IDC_VIEW 1100
#define IDC_STATUS_BAR 1101
#define IDC_ACTIVITY_BAR 1102

// Children of the view, in tab order.
#define IDC_TITLE 1110
#define IDC_HINT 1111
#define IDC_STEP_CHOOSE 1112
#define IDC_STEP_REPAIR 1113
#define IDC_STEP_REVIEW 1114
#define IDC_STEP_SAVE 1115
#define IDC_FILE_HEADING 1120
#define IDC_FILE_LABEL 1121
#define IDC_FILE 1122
#define IDC_MODE_HEADING 1123
#define IDC_MODE_STANDARD 1124
#define IDC_MODE_STANDARD_TEXT 1125
#define IDC_MODE_TEMPLATE 1126
#define IDC_MODE_TEMPLATE_TEXT 1127
#define IDC_TEMPLATE_LABEL 1128
#define IDC_TEMPLATE_FILE 1129
#define IDC_RECENT_LABEL 1130
#define IDC_RECENT_LIST 1131
#define IDC_DROP_NOTE 1132
#define IDC_STATUS_LINE 1140
#define IDC_PROGRESS 1141
#define IDC_OUTPUT_LABEL 1142
#define IDC_OUTPUT 1143
#define IDC_OVERALL_NOTE 1144
#define IDC_OVERALL 1145
#define IDC_TREE_LABEL 1150
#define IDC_TREE 1151
#define IDC_SUMMARY_LABEL 1152
#define IDC_SUMMARY 1153
#define IDC_FIND_LABEL 1154
#define IDC_FIND 1155
#define IDC_RECORDS_LABEL 1156
#define IDC_RECORDS 1157
#define IDC_CELL_LABEL 1158
#define IDC_CELL 1159
#define IDC_MAP_LABEL 1170
#define IDC_MAP 1171
#define IDC_MAP_NOTE 1172
#define IDC_LOG_LABEL 1161
#define IDC_LOG 1162

// Commands.
#define ID_NEW_REPAIR 32771
#define ID_CHOOSE_FILE 32772
#define ID_CHOOSE_TEMPLATE 32773
#define ID_NEXT 32774
#define ID_BACK 32775
#define ID_STOP 32776
#define ID_EXIT 32777
#define ID_SETTINGS 32778
#define ID_HELP_GUIDE 32779
#define ID_ABOUT 32780
#define ID_COPY 32781
#define ID_COPY_ROWS 32782
#define ID_SELECT_ALL 32783
#define ID_FIND 32784
#define ID_FIND_NEXT 32785
#define ID_SHOW_CELL 32786
#define ID_COPY_LOG 32787
#define ID_SAVE_LOG 32788
#define ID_OPEN_FOLDER 32789
#define ID_MODE_STANDARD 32790
#define ID_MODE_TEMPLATE 32791
#define ID_REPAIR 32792
#define ID_SAVE_RESULT 32793
#define ID_FORWARD 32794
#define ID_EXPORT 32795
#define ID_SAVE_REPORT 32796
#define ID_SAVE_VALUE 32797
// The recent files, up to four.
#define ID_RECENT_FIRST 32800
#define ID_RECENT_LAST 32803
