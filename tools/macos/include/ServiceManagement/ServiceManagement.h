#pragma once

#include <Foundation/Foundation.h>

enum SMAppServiceStatus : NSInteger {
    SMAppServiceStatusNotRegistered,
    SMAppServiceStatusEnabled,
    SMAppServiceStatusRequiresApproval,
    SMAppServiceStatusNotFound,
};

@interface SMAppService : NSObject
@property(class, readonly) SMAppService *mainAppService;
@property(readonly) SMAppServiceStatus status;
- (BOOL)registerAndReturnError:(NSError *__autoreleasing *)error;
- (BOOL)unregisterAndReturnError:(NSError *__autoreleasing *)error;
@end
