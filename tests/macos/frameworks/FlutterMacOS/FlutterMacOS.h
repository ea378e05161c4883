#pragma once

#import <FlutterMacOS/FlutterAppDelegate.h>
#import <FlutterMacOS/FlutterBinaryMessenger.h>
#import <FlutterMacOS/FlutterChannels.h>
#import <FlutterMacOS/FlutterCodecs.h>
#import <FlutterMacOS/FlutterEngine.h>
#import <FlutterMacOS/FlutterPluginMacOS.h>
#import <FlutterMacOS/FlutterPluginRegistrarMacOS.h>
#import <FlutterMacOS/FlutterViewController.h>
